// tess property get|list|dump: property values of a solution's elements, and the catalogue.
#include "foundation/PropertyClass.h"
#include "projects/SolutionSession.h"
#include "projects/StandardProjectSystem.h"
#include "tool/tess/Commands.h"
#include "tool/tess/ProjectCommandSupport.h"
#include <QByteArray>
#include <cstdio>
#include <vector>

namespace {

void write(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

QByteArray describeContribution(const PropertyContribution &contribution)
{
    if (contribution.isDefault)
        return "(default): " + contribution.text.toUtf8() + '\n';
    const QString path = elementPath(contribution.element);
    return (path.isEmpty() ? QByteArray("(solution)") : path.toUtf8()) + " ["
         + contribution.configuration.toUtf8() + "]: " + contribution.text.toUtf8() + '\n';
}

int get(const CommandArguments &arguments)
{
    const QStringList &operands = arguments.operands();
    if (operands.size() != 4)
        return arguments.usageError(QStringLiteral("give FILE ELEMENT CONFIG NAME"));
    const QString &elementName = operands[1];
    const QString &configuration = operands[2];
    const QString &name = operands[3];
    const bool expand = arguments.has("--expand");
    const bool traced = arguments.has("--trace");
    SolutionSession session;
    if (!loadForCommand(session, operands[0]))
        return 1;
    StandardProjectSystem &system = session.system();
    const ProjectElement *element = system.findElement(elementName);
    if (!element)
        return printCommandError(QStringLiteral("unknown element '%1'").arg(elementName));
    const PropertyClass *row = system.classFor(name, element, configuration);
    if (!row || dynamic_cast<const MacroPropertyClass *>(row))
        return printCommandError(QStringLiteral("unknown property '%1'").arg(name));
    PropertyTrace trace;
    QString value =
        system.resolveProperty(element, row, configuration, traced ? &trace : nullptr);
    if (expand)
        value = system.expand(element, configuration, value);
    QByteArray out;
    for (const PropertyContribution &contribution : trace)
        out += describeContribution(contribution);
    out += traced ? "value: " + value.toUtf8() + '\n' : value.toUtf8() + '\n';
    write(out);
    return 0;
}

struct DumpContext {
    StandardProjectSystem &system;
    const QString &name;
    const PropertyClass *row;
    const PropertyClass *outputFileName;   // the one row whose class depends on the project
    const QString &configuration;
    QByteArray prefix;   // "configuration<TAB>" when several are dumped
    bool expand;
    QByteArray out;
};

// Appends a line for each file below `element` in tree order. Nodes nest at most as deep as
// the loader allows, so the recursion is bounded.
void dumpBelow(const ProjectElement *element, const QByteArray &path, DumpContext &context)
{
    for (const ProjectElement *child : element->children()) {
        const QByteArray childName = child->elementName().toUtf8();
        if (child->kind() != ProjectElement::Kind::File) {
            dumpBelow(child, path.isEmpty() ? childName : path + '/' + childName, context);
            continue;
        }
        const PropertyClass *row = context.row == context.outputFileName
                                       ? context.system.classFor(context.name, child,
                                                                 context.configuration)
                                       : context.row;
        const QString value =
            context.expand ? context.system.expandedProperty(child, row, context.configuration)
                           : context.system.resolveProperty(child, row, context.configuration);
        QByteArray &out = context.out;
        out += context.prefix;
        if (!path.isEmpty()) {
            out += path;
            out += '/';
        }
        out += childName;
        out += '\t';
        out += value.toUtf8();
        out += '\n';
        if (out.size() > 1 << 20) {
            write(out);
            out.clear();
        }
    }
}

// Every file of the solution with its value, one a line: "path<TAB>value". CONFIG may list
// several configurations separated by ';'; each line then starts with "configuration<TAB>".
int dump(const CommandArguments &arguments)
{
    const QStringList &operands = arguments.operands();
    if (operands.size() != 3)
        return arguments.usageError(QStringLiteral("give FILE CONFIG NAME"));
    const QStringList configurations = operands[1].split(u';', Qt::SkipEmptyParts);
    const QString &name = operands[2];
    SolutionSession session;
    if (!loadForCommand(session, operands[0]))
        return 1;
    StandardProjectSystem &system = session.system();
    if (!system.findClass(name) || dynamic_cast<const MacroPropertyClass *>(system.findClass(name)))
        return printCommandError(QStringLiteral("unknown property '%1'").arg(name));
    for (const QString &configuration : configurations) {
        DumpContext context{system,
                            name,
                            system.findClass(name),
                            system.propertyClass(ProjectProperty::BuildOutputFileName),
                            configuration,
                            {},
                            arguments.has("--expand"),
                            {}};
        if (configurations.size() > 1)
            context.prefix = configuration.toUtf8() + '\t';
        context.out.reserve(1 << 20);
        dumpBelow(system.solution(), {}, context);
        write(context.out);
    }
    return 0;
}

const char *typeName(int type)
{
    switch (type) {
    case PropertyClass::Boolean:
        return "boolean";
    case PropertyClass::List:
        return "list";
    case PropertyClass::Directory:
        return "directory";
    case PropertyClass::Enumeration:
        return "enumeration";
    default:
        return "text";
    }
}

// The catalogue in grid order: "name<TAB>type<TAB>section<TAB>default".
int list(const CommandArguments &arguments)
{
    if (!arguments.operands().isEmpty())
        return arguments.usageError(QStringLiteral("unexpected argument '%1'").arg(arguments.operands().first()));
    SolutionSession session;
    QByteArray out;
    for (const auto &row : session.system().propertyClasses().classes()) {
        out += row->name.toUtf8() + '\t' + typeName(row->type) + '\t' + row->section.toUtf8()
             + '\t' + row->defaultValue.toUtf8();
        if (row->category != QLatin1String("General"))
            out += "\t(" + row->category.toUtf8() + ')';
        out += '\n';
    }
    write(out);
    return 0;
}

constexpr TessOption getOptions[] = {
    {"--expand", nullptr, "expand the macros in the value"},
    {"--trace", nullptr, "show where each part of the value comes from"},
};
constexpr TessOption dumpOptions[] = {
    {"--expand", nullptr, "expand the macros in the values"},
};

constexpr TessCommand propertyRows[] = {
    {"property get", "FILE ELEMENT CONFIG NAME [--expand] [--trace]",
     "a property's value for one element of a solution in one configuration", getOptions,
     "tess property get Blinky.qvProject \"Blinky/Source Files/main.c\" Debug c_preprocessor_definitions --trace",
     get},
    {"property dump", "FILE CONFIG[;CONFIG...] NAME [--expand]",
     "a property's value for every file of a solution", dumpOptions,
     "tess property dump Blinky.qvProject \"Debug;Release\" build_object_file_name --expand", dump},
    {"property list", "", "the property catalogue: name, type, section, default", {},
     "tess property list", list},
};

} // namespace

std::span<const TessCommand> propertyCommands()
{
    return propertyRows;
}
