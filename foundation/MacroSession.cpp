#include "foundation/MacroSession.h"
#include "foundation/Directories.h"
#include "foundation/PropertyClass.h"
#include <QCoreApplication>
#include <QFileInfo>

namespace {

// The macro system the sessions made, while one of them is alive.
std::weak_ptr<PropertyClassList> &sessionMacros()
{
    static std::weak_ptr<PropertyClassList> macros;
    return macros;
}

} // namespace

MacroSession::MacroSession(const QString &installation)
{
    if (PropertyClassList *outer = PropertyClassList::global()) {
        if (std::shared_ptr<PropertyClassList> shared = sessionMacros().lock(); shared.get() == outer)
            m_owned = std::move(shared);
        m_macros = outer;
        return;
    }
    if (installation.isEmpty() && installationDirectory().isEmpty())
        setUpProgramDirectories();
    const QString varnelDir = installation.isEmpty() ? installationDirectory() : installation;
    m_owned = PropertyClassList::createMacroSystem();
    m_owned->defineSystemMacro(QStringLiteral("VarnelDir"), varnelDir,
                               QStringLiteral("Installation directory of Tessmark."));
    m_macros = m_owned.get();
    sessionMacros() = m_owned;
    PropertyClassList::setGlobal(m_macros);
}

MacroSession::~MacroSession()
{
    if (m_owned && m_owned.use_count() == 1 && PropertyClassList::global() == m_macros)
        PropertyClassList::setGlobal(nullptr);
}

void setUpProgramDirectories(const QString &executable)
{
    QString program = executable;
    if (program.isEmpty() && QCoreApplication::instance())
        program = QCoreApplication::applicationFilePath();
    if (program.isEmpty())
        program = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    const QString binary = QFileInfo(QFileInfo(program).absolutePath()).canonicalFilePath();
    setBinaryDirectory(binary);
    setInstallationDirectory(QFileInfo(binary + QStringLiteral("/..")).canonicalFilePath());
}
