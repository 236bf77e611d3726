#include "sourcecontrol/SourceControlProviders.h"
#include "foundation/Directories.h"
#include "sourcecontrol/SourceCodeControlSystem.h"
#include "sourcecontrol/SourceCodeControlSystemInterface.h"
#include "sourcecontrol/SourceControlLog.h"
#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <dlfcn.h>

// The dynamic loading of providers: dlopen, dlsym and dlclose live here and nowhere else.

namespace {

constexpr const char *libraryExtension = ".so";
constexpr qint64 maxListSize = qint64(4) << 20;

QString dlerrorText()
{
    const char *text = ::dlerror();
    return text ? QString::fromLocal8Bit(text) : QStringLiteral("unknown error");
}

SourceControlProviderEntry readEntry(const QDomElement &element, const QString &listDirectory)
{
    SourceControlProviderEntry entry;
    entry.name = element.attribute(QStringLiteral("name"));
    entry.dll = element.attribute(QStringLiteral("dll"));
    entry.repositoryName = element.attribute(QStringLiteral("repositoryname"));
    entry.browse = element.attribute(QStringLiteral("browse"));
    if (!entry.dll.isEmpty()) {
        const QString file = entry.dll + QLatin1String(libraryExtension);
        entry.library = QFileInfo(file).isAbsolute() ? QDir::cleanPath(file)
                                                     : QDir::cleanPath(listDirectory + u'/' + file);
    }
    for (QDomElement property = element.firstChildElement(QStringLiteral("property"));
         !property.isNull(); property = property.nextSiblingElement(QStringLiteral("property"))) {
        entry.properties.push_back({property.attribute(QStringLiteral("name")),
                                    property.attribute(QStringLiteral("value")),
                                    property.attribute(QStringLiteral("description"))});
    }
    return entry;
}

}   // namespace

SourceControlProvider::SourceControlProvider(SourceControlProviderEntry entry,
                                             SourceControlLog *log)
    : m_entry(std::move(entry)), m_log(log)
{
}

SourceControlProvider::~SourceControlProvider()
{
    if (m_interface && m_release)
        m_release(m_interface);
    m_interface = nullptr;
    if (m_handle)
        ::dlclose(m_handle);
    m_services.reset();
}

void SourceControlProvider::load()
{
    const auto fail = [this](const QString &reason) {
        m_loadError = reason;
        if (m_log) {
            m_log->error(QStringLiteral("cannot load source control provider '%1': %2")
                             .arg(m_entry.name, reason));
        }
        if (m_handle)
            ::dlclose(m_handle);
        m_handle = nullptr;
    };
    if (m_entry.name.isEmpty())
        return fail(QStringLiteral("the entry has no name"));
    if (m_entry.dll.isEmpty())
        return fail(QStringLiteral("the entry has no dll"));
    ::dlerror();
    m_handle = ::dlopen(QFile::encodeName(m_entry.library).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle)
        return fail(dlerrorText());
    const auto create = reinterpret_cast<CreateSourceCodeControlSystemInterfaceFunction>(
        ::dlsym(m_handle, createProviderSymbol));
    if (!create)
        return fail(QStringLiteral("missing symbol %1").arg(QLatin1String(createProviderSymbol)));
    const auto release = reinterpret_cast<ReleaseSourceCodeControlSystemInterfaceFunction>(
        ::dlsym(m_handle, releaseProviderSymbol));
    if (!release)
        return fail(QStringLiteral("missing symbol %1").arg(QLatin1String(releaseProviderSymbol)));
    m_services = std::make_unique<SourceCodeControlSystem>(m_log);
    SourceCodeControlSystemInterface *created = create(m_services.get());
    if (!created)
        return fail(
            QStringLiteral("%1 returned no interface").arg(QLatin1String(createProviderSymbol)));
    m_interface = created;
    m_release = release;
    m_interface->setProperties(m_entry.properties);
}

SourceControlProviders::SourceControlProviders(SourceControlLog *log) : m_log(log) {}

// Providers are released in the reverse order of their loading.
SourceControlProviders::~SourceControlProviders()
{
    while (!m_providers.empty())
        m_providers.pop_back();
}

QString SourceControlProviders::defaultListPath()
{
    const QByteArray fromEnvironment = qgetenv("TESS_SC_PROVIDERS");
    if (!fromEnvironment.isEmpty())
        return QFile::decodeName(fromEnvironment);
    return installationDirectory() + QStringLiteral("/bin/scproviders.xml");
}

bool SourceControlProviders::load(const QString &listPath, QString *error)
{
    QFile file(listPath);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: cannot read the provider list: %2")
                     .arg(listPath, file.errorString());
        return false;
    }
    if (file.size() > maxListSize) {
        *error =
            QStringLiteral("%1: provider list too large (%2 bytes)").arg(listPath).arg(file.size());
        return false;
    }
    QDomDocument document;
    QString message;
    int line = 0;
    int column = 0;
    if (!document.setContent(file.readAll(), &message, &line, &column)) {
        *error = QStringLiteral("%1:%2:%3: %4").arg(listPath).arg(line).arg(column).arg(message);
        return false;
    }
    const QDomElement root = document.documentElement();
    if (root.tagName() != QLatin1String("scproviders")) {
        *error = QStringLiteral("%1: not a provider list (root '%2', expected 'scproviders')")
                     .arg(listPath, root.tagName());
        return false;
    }
    const QString directory = QFileInfo(listPath).absolutePath();
    for (QDomElement element = root.firstChildElement(QStringLiteral("provider"));
         !element.isNull(); element = element.nextSiblingElement(QStringLiteral("provider"))) {
        auto provider =
            std::make_unique<SourceControlProvider>(readEntry(element, directory), m_log);
        provider->load();
        m_providers.push_back(std::move(provider));
    }
    return true;
}

SourceControlProvider *SourceControlProviders::find(const QString &name) const
{
    for (const auto &provider : m_providers) {
        if (provider->entry().name == name)
            return provider.get();
    }
    return nullptr;
}

bool SourceControlProviders::anyLoaded() const
{
    for (const auto &provider : m_providers) {
        if (provider->interface())
            return true;
    }
    return false;
}

SourceControlProvider *SourceControlProviders::providerFor(const QString &directory, QString *root,
                                                           QString *error) const
{
    QStringList reasons;
    for (const auto &provider : m_providers) {
        SourceCodeControlSystemInterface *interface = provider->interface();
        if (!interface)
            continue;
        QString reason;
        if (!interface->available(&reason)) {
            reasons.append(QStringLiteral("source control provider '%1' is unavailable: %2")
                               .arg(provider->entry().name, reason));
            continue;
        }
        QString problem;
        const QString found = interface->workingCopyRoot(directory, &problem);
        if (!found.isEmpty()) {
            *root = found;
            return provider.get();
        }
        if (!problem.isEmpty())
            reasons.append(problem);
    }
    *error = reasons.join(u'\n');
    return nullptr;
}
