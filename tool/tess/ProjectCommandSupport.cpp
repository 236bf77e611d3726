#include "tool/tess/ProjectCommandSupport.h"
#include "foundation/Directories.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <cstdio>

ProjectCommandSession::ProjectCommandSession()
{
    if (!PropertyClassList::global()) {
        m_macroSystem = PropertyClassList::createMacroSystem();
        PropertyClassList::setGlobal(m_macroSystem.get());
        const QString installation =
            QFileInfo(QCoreApplication::applicationDirPath() + QStringLiteral("/..")).canonicalFilePath();
        if (installationDirectory().isEmpty())
            setInstallationDirectory(installation);
        m_macroSystem->defineSystemMacro(QStringLiteral("VarnelDir"), installationDirectory(),
                                         QStringLiteral("Installation directory of Tessmark."));
    }
    m_system = std::make_unique<StandardProjectSystem>();
}

ProjectCommandSession::~ProjectCommandSession()
{
    m_system.reset();
    if (m_macroSystem)
        PropertyClassList::setGlobal(nullptr);
}

bool ProjectCommandSession::load(const QString &path)
{
    try {
        m_system->loadSolution(QDir::currentPath(), path, false);
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
