#pragma once
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include <QFile>

// A provider library for the loading tests. It controls nothing; it writes what happens to it
// ("create", "release", "unload") to the file named by $TESS_STANDIN_TRACE, so a test can see
// that the environment releases the interface before it closes the library.
namespace StandIn {

inline void trace(const char *event)
{
    const QByteArray path = qgetenv("TESS_STANDIN_TRACE");
    if (path.isEmpty())
        return;
    QFile file(QFile::decodeName(path));
    if (file.open(QIODevice::Append))
        file.write(QByteArray(event) + '\n');
}

// Answers every operation with a failure; tests derive what they need to steer.
class Provider : public SourceCodeControlSystemInterface {
public:
    QString name() const override { return QStringLiteral("StandIn"); }
    void setProperties(const SourceControlPropertyList &) override {}
    void setLogin(const QString &, const QString &) override {}
    bool available(QString *) override { return true; }
    QString version() override { return QStringLiteral("stand-in 1"); }
    QString workingCopyRoot(const QString &, QString *) override { return {}; }
    bool probe(const QString &, const SourceControlOptions &) override { return false; }
    bool queryStatus(const QString &, SourceControlResults &) override { return false; }
    bool add(const QString &, const QStringList &, SourceControlResults &) override
    {
        return false;
    }
    bool remove(const QString &, const QStringList &, bool, SourceControlResults &) override
    {
        return false;
    }
    bool diff(const QString &, const QStringList &, SourceControlResults &) override
    {
        return false;
    }
    bool commit(const QString &, const QString &, const QString &, SourceControlResults &) override
    {
        return false;
    }
    bool revert(const QString &, const QStringList &, SourceControlResults &) override
    {
        return false;
    }
    bool branches(const QString &, SourceControlResults &) override { return false; }
    bool switchBranch(const QString &, const QString &, SourceControlResults &) override
    {
        return false;
    }
    bool merge(const QString &, const QString &, bool, SourceControlResults &) override
    {
        return false;
    }
    bool log(const QString &, const QString &, int, SourceControlResults &) override
    {
        return false;
    }
    bool history(const QString &, const QStringList &, SourceControlResults &) override
    {
        return false;
    }
    bool fileAtRevision(const QString &, const QString &, const QString &,
                        SourceControlResults &) override
    {
        return false;
    }
};

inline SourceCodeControlSystemInterface *create()
{
    trace("create");
    return std::make_unique<Provider>().release();
}

inline void release(SourceCodeControlSystemInterface *interface)
{
    trace("release");
    delete interface;
}

}   // namespace StandIn
