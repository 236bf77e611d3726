// tess solution show FILE | tess solution save FILE OUT
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ProjectCommandSupport.h"
#include <QByteArray>
#include <cstdio>

namespace {

// The configurations an element holds values for, in the order its file declares them.
QStringList heldConfigurations(const ProjectElement *element)
{
    QStringList names;
    if (element->holder(QStringLiteral("Common")))
        names.append(QStringLiteral("Common"));
    for (const XMLNode *node = element->firstChild(); node; node = node->nextSibling()) {
        const ProjectElement *child = asProjectElement(node);
        if (!child || child->kind() != ProjectElement::Kind::Configuration)
            continue;
        const QString name = QString::fromUtf8(child->attribute("Name"));
        if (!names.contains(name) && element->holder(name) == child)
            names.append(name);
    }
    return names;
}

void showElement(const ProjectElement *element, int depth, QByteArray &out)
{
    out += QByteArray(depth * 2, ' ');
    out += ProjectElement::tagOfKind(element->kind());
    out += ' ';
    out += element->elementName().toUtf8();
    const QStringList held = heldConfigurations(element);
    if (!held.isEmpty())
        out += " [" + held.join(u' ').toUtf8() + ']';
    if (element->isImported())
        out += " (imported from " + element->importFileName().toUtf8() + ')';
    if (element->isDynamic())
        out += " (listed)";
    out += '\n';
    for (const ProjectElement *child : element->children())
        showElement(child, depth + 1, out);
}

int show(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 1)
        return arguments.usageError(QStringLiteral("give one solution file"));
    SolutionSession session;
    if (!loadForCommand(session, arguments.operands()[0]))
        return 1;
    QByteArray out;
    showElement(session.system().solution(), 0, out);
    std::fwrite(out.constData(), 1, size_t(out.size()), stdout);
    return 0;
}

int save(const CommandArguments &arguments)
{
    if (arguments.operands().size() != 2)
        return arguments.usageError(QStringLiteral("give the solution file and the output file"));
    SolutionSession session;
    if (!loadForCommand(session, arguments.operands()[0]))
        return 1;
    try {
        session.system().saveSolution(arguments.operands()[1]);
    } catch (const HException &error) {
        return printCommandError(error.message());
    }
    return 0;
}

constexpr TessCommand solutionRows[] = {
    {"solution show", "FILE", "the tree of a solution with the configurations each element holds",
     {}, "tess solution show Blinky.qvProject", show},
    {"solution save", "FILE OUT", "load a solution and save it again to OUT", {},
     "tess solution save Blinky.qvProject copy.qvProject", save},
};

} // namespace

std::span<const TessCommand> solutionCommands()
{
    return solutionRows;
}
