#include "projects/ProjectSystemXMLPP2.h"
#include "projects/ProjectElement.h"

XMLElement *ProjectSystemXMLPP2::createElement(char *name)
{
    return new ProjectElement(name);
}

void ProjectSystemXMLPP2::error(const QString &)
{
}
