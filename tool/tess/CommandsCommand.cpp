#include "buildengine/BuildEngine.h"
#include "buildengine/BuildRequest.h"
#include "buildengine/CommandLine.h"
#include "foundation/Directories.h"
#include "foundation/HException.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ProjectCommandSupport.h"
#include <QDir>
#include <cstdio>

// tess commands: every command a full build of a solution (or of one element of it) would run,
// one a line as "<working directory>: <command line>", in the order the build runs them. The
// build walker itself decides what runs; the builder it is handed runs nothing and has it
// write nothing, list files and unity files included.

namespace {

class CommandLister : public Builder {
public:
    explicit CommandLister(QString installation) : m_installation(std::move(installation)) {}

    [[nodiscard]] bool failed() const { return m_failed; }

    void beginStep(ProjectElement *, const QString &, const QString &, int) override {}
    void endStep(ProjectElement *, const QString &) override {}
    bool runCommand(const QString &workingDirectory, const QStringList &arguments,
                    const QString &) override
    {
        QStringList line = arguments;
        // Shown as the builder runs it: the shipped tools from the installation.
        if (!line.isEmpty() && isShippedTool(line.first()))
            line.first() = m_installation + QStringLiteral("/bin/") + line.first();
        std::printf("%s: %s\n", workingDirectory.toUtf8().constData(),
                    displayCommandLine(line).toUtf8().constData());
        return true;
    }
    void addError(const QString &text) override
    {
        std::fprintf(stderr, "tess commands: %s\n", text.toUtf8().constData());
        m_failed = true;
    }
    void addWarning(const QString &text) override
    {
        std::fprintf(stderr, "tess commands: warning: %s\n", text.toUtf8().constData());
    }
    void addNote(const QString &) override {}
    void addDetail(const QString &) override {}
    void addInformation(const QString &) override {}
    [[nodiscard]] bool makesFiles() const override { return false; }

private:
    QString m_installation;
    bool m_failed = false;
};

int commandsCommand(const CommandArguments &parsed)
{
    const QStringList &arguments = parsed.operands();
    if (arguments.size() < 2 || arguments.size() > 3)
        return parsed.usageError(QStringLiteral("give FILE CONFIGURATION and at most one ELEMENT"));
    SolutionSession session;
    StandardProjectSystem &system = session.system();
    try {
        SolutionSession::LoadOptions options;
        options.runLoadCommands = false;   // they would run tools
        session.load(arguments.at(0), options);
    } catch (const HException &error) {
        return printCommandError(QStringLiteral("tess commands: ") + error.message());
    }
    ProjectElement *top =
        arguments.size() == 3 ? system.findElement(arguments.at(2)) : system.solution();
    if (!top)
        return printCommandError(QStringLiteral("tess commands: no element '%1' in %2")
                                     .arg(arguments.at(2), arguments.at(0)));
    BuildEngine engine(system);
    CommandLister lister(installationDirectory());
    Idler idler;
    BuildRequest request;
    request.element = top;
    request.configuration = arguments.at(1);
    request.operation =
        *buildOperation(findBuildOperation({BuildNode::Selection, BuildAction::Export}));
    request.flags = BuildFlag::Force | BuildFlag::Quiet;
    request.builders = {&lister};
    request.idler = &idler;
    const int result = engine.build(request);
    std::fflush(stdout);
    return result == BuildEngine::Failed || result == BuildEngine::Stopped || lister.failed() ? 1
                                                                                              : 0;
}

constexpr TessCommand commandsRows[] = {
    {"commands", "FILE CONFIGURATION [ELEMENT]",
     "every command a full build would run, in order, without running any", {},
     "tess commands demo.qvProject Debug Exe", commandsCommand},
};

} // namespace

std::span<const TessCommand> commandsCommands()
{
    return commandsRows;
}
