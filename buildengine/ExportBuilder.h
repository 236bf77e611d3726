#pragma once
#include "buildengine/Builder.h"
#include <QSet>
#include <QStringList>

class BuildEngine;

// Runs nothing: writes down what a full build would do, as plain lines of text or as the rules
// of a makefile (one rule per output, with the compiler's dependency file included so that
// make picks up the headers of the last build).
class ExportBuilder : public Builder {
public:
    ExportBuilder(BuildEngine &engine, bool makefile, QString installation);

    // The export: for a makefile the top rule "all: \" with every target, then the rules.
    [[nodiscard]] QString text() const;
    [[nodiscard]] const QStringList &lines() const { return m_lines; }

    void beginStep(ProjectElement *element, const QString &title, const QString &configuration,
                   int count) override;
    void endStep(ProjectElement *element, const QString &configuration) override;
    bool runCommand(const QString &workingDirectory, const QStringList &arguments,
                    const QString &outputPath) override;
    void addError(const QString &text) override;
    void addWarning(const QString &) override {}
    void addNote(const QString &) override {}
    void addDetail(const QString &) override {}
    void addInformation(const QString &) override {}

    // A name as a makefile rule writes it: every blank preceded by "\".
    [[nodiscard]] static QString makeName(const QString &name);

private:
    BuildEngine &m_engine;
    bool m_makefile;
    QString m_installation;
    QStringList m_lines;
    QStringList m_targets;
    QSet<const ProjectElement *> m_ruled;   // elements whose rule is written
    bool m_enabled = false;                 // a makefile rule is open: commands go into it
    QString m_lastDirectory;
};
