#pragma once
#include <QHash>
#include <QString>

// Values by configuration and key. A build asks for one configuration thousands of times in
// a row: the map of the last one is kept at hand, so its name is hashed only when it changes.
template <typename Key, typename Value>
class ConfigurationMap {
public:
    QHash<Key, Value> &of(const QString &configuration)
    {
        if (!m_last || m_lastConfiguration != configuration) {
            // Taken again after every insertion of a configuration, which may move the maps.
            m_last = &m_maps[configuration];
            m_lastConfiguration = configuration;
        }
        return *m_last;
    }
    void clear()
    {
        m_maps.clear();
        m_last = nullptr;
        m_lastConfiguration.clear();
    }

private:
    QHash<QString, QHash<Key, Value>> m_maps;
    QString m_lastConfiguration;
    QHash<Key, Value> *m_last = nullptr;
};
