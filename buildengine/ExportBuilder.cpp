#include "buildengine/ExportBuilder.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/CommandLine.h"
#include "projects/ProjectElement.h"
#include <QDir>

ExportBuilder::ExportBuilder(BuildEngine &engine, bool makefile, QString installation)
    : m_engine(engine), m_makefile(makefile), m_installation(std::move(installation))
{
}

QString ExportBuilder::makeName(const QString &name)
{
    QString escaped = name;
    return escaped.replace(u' ', QLatin1String("\\ "));
}

QString ExportBuilder::text() const
{
    QStringList out;
    if (m_makefile) {
        out.append(QStringLiteral("all: \\"));
        for (qsizetype i = 0; i < m_targets.size(); ++i)
            out.append(u'\t' + m_targets.at(i) + (i + 1 < m_targets.size() ? QStringLiteral(" \\")
                                                                         : QString()));
        out.append(QString());
    }
    out += m_lines;
    return out.join(u'\n') + u'\n';
}

void ExportBuilder::beginStep(ProjectElement *element, const QString &title,
                              const QString &configuration, int count)
{
    if (!m_makefile) {
        m_lines.append(QString());
        m_lines.append(QStringLiteral("# ") + title);
        return;
    }
    m_enabled = false;
    if (!element || m_ruled.contains(element)) {
        m_enabled = element != nullptr;
        return;
    }
    const QString output = m_engine.outputName(element, configuration, true);
    if (output.isEmpty())
        return;
    m_ruled.insert(element);
    m_enabled = true;
    m_lastDirectory.clear();
    const QString target = makeName(output);
    m_targets.append(target);
    m_lines.append(QString());
    if (element->kind() == ProjectElement::Kind::File
        || element->kind() == ProjectElement::Kind::Folder) {
        m_lines.append(QStringLiteral("-include ")
                       + makeName(m_engine.dependencyFileName(element, configuration, true)));
        const QString input = element->kind() == ProjectElement::Kind::Folder
                                  ? m_engine.unityFileName(element, configuration)
                                  : element->filePath().text();
        m_lines.append(target + u':' + makeName(input));
        return;
    }
    QStringList inputs;
    for (const QString &input : m_engine.collectObjects(element, configuration, 0))
        inputs.append(makeName(input));
    m_lines.append(target + u':' + (inputs.isEmpty() ? QString() : QStringLiteral(" \\")));
    for (qsizetype i = 0; i < inputs.size(); ++i)
        m_lines.append(u'\t' + inputs.at(i) + (i + 1 < inputs.size() ? QStringLiteral(" \\")
                                                                      : QString()));
}

void ExportBuilder::endStep(ProjectElement *element, const QString &configuration) {}

bool ExportBuilder::runCommand(const QString &workingDirectory, const QStringList &arguments,
                               const QString &outputPath)
{
    if (arguments.isEmpty() || (m_makefile && !m_enabled))
        return true;
    QStringList line = arguments;
    if (isShippedTool(line.first()))
        line.first() = m_installation + QStringLiteral("/bin/") + line.first();
    QString command = displayCommandLine(line);
    if (isShippedTool(arguments.first()) && !line.first().contains(u' '))
        command = u'"' + line.first() + u'"' + command.mid(line.first().size());
    const QString cd = QStringLiteral("cd \"%1\"").arg(workingDirectory);
    if (m_makefile) {
        // Each line of a recipe runs in a shell of its own.
        m_lines.append(u'\t' + cd + QStringLiteral(" && ") + command);
        return true;
    }
    if (workingDirectory != m_lastDirectory) {
        m_lines.append(cd);
        m_lastDirectory = workingDirectory;
    }
    m_lines.append(command);
    return true;
}

void ExportBuilder::addError(const QString &text)
{
    m_lines.append(QStringLiteral("ERROR occurred ") + text);
}
