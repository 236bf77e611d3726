#include "projects/ProjectTemplateFile.h"
#include "foundation/Report.h"

void ProjectTemplateFile::error(const QString &message)
{
    report(ReportChannel::Warning, message);
    XMLPP2::error(message);
}

int ProjectTemplateFile::load(const QString &path)
{
    m_path = path;
    return XMLPP2::load(path, QString(), false);
}
