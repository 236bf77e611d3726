#pragma once
#include "script/host/ScriptSystem.h"
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <vector>

// Runs script texts in the shared context and reports what went wrong in the words of the
// environment's message boxes. A front end decides where a report goes (a box, standard error).
class VarnelScriptSystem : public ScriptSystem {
    Q_OBJECT
    Q_PROPERTY(QString productName READ productName WRITE setProductName)
    Q_PROPERTY(QString projectScriptFile READ projectScriptFile WRITE setProjectScriptFile)
    Q_PROPERTY(PopupAnswer popupAnswer READ popupAnswer WRITE setPopupAnswer)
    Q_PROPERTY(bool processEvents READ processEvents WRITE setProcessEvents)
public:
    // How a run ended, for a caller that needs more than ran-without-error.
    enum class Outcome { Success, Error, Fatal };
    // What TMSys.popup answers when no one can be asked.
    enum PopupAnswer { No, Yes };
    Q_ENUM(PopupAnswer)
    using Reporter = std::function<void(const QString &title, const QString &text)>;

    explicit VarnelScriptSystem(QObject *parent = nullptr);

    // Runs `text` as the file `fileName`. The result of the script goes into `results`: nothing
    // for undefined, the elements' texts for an Array, else its text. True when the script ran
    // without error; errors went to the reporter. The depth limit throws HException.
    bool evaluate(const QString &text, const QString &fileName, bool processEvents,
                  QStringList &results);
    // The same, with the result as a value: a number, a boolean, a text or invalid.
    bool evaluate(const QString &text, const QString &fileName, bool processEvents,
                  QVariant &result);

    // A script text and the file it came from.
    struct Source {
        QString fileName;
        QString text;
    };
    // Runs the sources in order in one context, up to the first that fails; the results are the
    // last one's.
    bool evaluate(const std::vector<Source> &sources, bool processEvents, QStringList &results);
    // What a run's value gives its caller: nothing for undefined, an Array's elements as texts
    // (at most maxResultElements), else the value's text.
    static constexpr qint64 maxResultElements = qint64(1) << 24;
    [[nodiscard]] static QStringList resultList(ESContext &context, ESValue value);

    // Runs `text` in the open context (the caller entered) and reports its error.
    bool evaluateInContext(const QString &text, const QString &fileName, ESValue &result);

    void setReporter(Reporter reporter) { m_reporter = std::move(reporter); }
    Outcome lastOutcome() const { return m_outcome; }
    // A script's own failure (Varnel.SetError), reported and counted as an error at the end.
    void setScriptError(const QString &text) { m_scriptError = text; }

    QString productName() const { return m_productName; }
    void setProductName(const QString &name) { m_productName = name; }
    QString projectScriptFile() const { return m_projectScriptFile; }
    void setProjectScriptFile(const QString &path) { m_projectScriptFile = path; }
    PopupAnswer popupAnswer() const { return m_popupAnswer; }
    void setPopupAnswer(PopupAnswer answer) { m_popupAnswer = answer; }
    bool processEvents() const { return m_processEvents; }
    void setProcessEvents(bool on) { m_processEvents = on; }

    // Reports an engine failure under "Script Fatal Error".
    void reportFatal(const QString &text);
    // The text and title of a thrown value, as the run reports it.
    void reportThrown(ESContext &context, ESValue value, const QString &fileName);

private:
    bool run(const QString &text, const QString &fileName, bool processEvents,
             const std::function<void(ESContext &, ESValue)> &take);
    bool run(const std::vector<Source> &sources, bool processEvents,
             const std::function<void(ESContext &, ESValue)> &take);
    void report(const QString &title, const QString &text);

    Reporter m_reporter;
    Outcome m_outcome = Outcome::Success;
    QString m_scriptError;
    QString m_productName = QStringLiteral("Tessmark");
    QString m_projectScriptFile;
    PopupAnswer m_popupAnswer = No;
    bool m_processEvents = false;
};
