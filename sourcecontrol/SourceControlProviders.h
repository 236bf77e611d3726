#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QString>
#include <memory>
#include <vector>

class SourceCodeControlSystem;
class SourceCodeControlSystemInterface;
class SourceControlLog;

// One entry of the provider list, as written.
struct SourceControlProviderEntry {
    QString name;
    QString dll;   // as written, without the library extension
    QString library;   // the file opened: dll with ".so", from the list's folder
    QString repositoryName;   // what the provider calls a working copy's origin
    QString browse;   // how the environment browses a repository
    SourceControlPropertyList properties;   // the options' "Source Control" category
};

// A provider from the list, loaded or not.
class SourceControlProvider {
public:
    SourceControlProvider(SourceControlProviderEntry entry, SourceControlLog *log);
    // Releases the interface through the library's release function, then closes the library.
    ~SourceControlProvider();
    SourceControlProvider(const SourceControlProvider &) = delete;
    SourceControlProvider &operator=(const SourceControlProvider &) = delete;

    [[nodiscard]] const SourceControlProviderEntry &entry() const { return m_entry; }
    // Null when the library could not be loaded; loadError() then says why.
    [[nodiscard]] SourceCodeControlSystemInterface *interface() const { return m_interface; }
    [[nodiscard]] const QString &loadError() const { return m_loadError; }

private:
    friend class SourceControlProviders;
    // Opens the library and creates the interface; on failure the reason is kept and logged.
    void load();

    SourceControlProviderEntry m_entry;
    SourceControlLog *m_log;
    std::unique_ptr<SourceCodeControlSystem> m_services;   // outlives the interface
    void *m_handle = nullptr;
    SourceCodeControlSystemInterface *m_interface = nullptr;
    void (*m_release)(SourceCodeControlSystemInterface *) = nullptr;
    QString m_loadError;
};

// The providers of the environment: read from the provider list, each library opened and asked
// for its interface. A provider that fails to load is left out with one message; when none is
// left, there is no source control and its menus are empty.
class SourceControlProviders {
public:
    explicit SourceControlProviders(SourceControlLog *log = nullptr);
    ~SourceControlProviders();

    // The list the environment reads: $TESS_SC_PROVIDERS when set, else
    // "<installation>/bin/scproviders.xml".
    [[nodiscard]] static QString defaultListPath();

    // Reads the list and loads every provider in it. False, with the reason in `error`, when
    // the list itself cannot be read; providers that fail to load are not an error here.
    [[nodiscard]] bool load(const QString &listPath, QString *error);

    [[nodiscard]] const std::vector<std::unique_ptr<SourceControlProvider>> &providers() const
    {
        return m_providers;
    }
    [[nodiscard]] SourceControlProvider *find(const QString &name) const;
    // Whether any provider loaded: without one, there is no source control.
    [[nodiscard]] bool anyLoaded() const;

    // The provider that controls `directory`: the first loaded and available one that finds a
    // working copy there. Null when none does; `error` then holds the reason if a provider
    // found a working copy it could not use.
    [[nodiscard]] SourceControlProvider *providerFor(const QString &directory, QString *root,
                                                     QString *error) const;

private:
    SourceControlLog *m_log;
    std::vector<std::unique_ptr<SourceControlProvider>> m_providers;
};
