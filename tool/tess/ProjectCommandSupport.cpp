#include "tool/tess/ProjectCommandSupport.h"
#include "foundation/HException.h"
#include "projects/ProjectElement.h"
#include "projects/SolutionSession.h"
#include <cstdio>

bool loadForCommand(SolutionSession &session, const QString &path)
{
    try {
        SolutionSession::LoadOptions options;
        options.expandMacros = false;
        session.load(path, options);
        return true;
    } catch (const HException &error) {
        printCommandError(error.message());
        return false;
    }
}

QString elementPath(const ProjectElement *element)
{
    QStringList names;
    for (const ProjectElement *at = element; at && at->parentElement(); at = at->parentElement())
        names.prepend(at->elementName());
    return names.join(u'/');
}

int printCommandError(const QString &text)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    return 1;
}
