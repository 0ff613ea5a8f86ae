// The per-user settings store: one INI file per application name, group "Settings", under the
// user's configuration folder.
#pragma once

#include <QString>
#include <QVariant>

namespace corvane {

class SettingsStore {
public:
    /// The value of `key` in the "Settings" group of `application`, else `defaultValue`.
    static QVariant Get(const QString& application, const QString& key,
                        const QVariant& defaultValue = {});
    static void Save(const QString& application, const QString& key, const QVariant& value);
    /// The folder configured for a program in Corvane's "AppPaths" group; empty when none.
    static QString AppPath(const QString& program);
    static void SetAppPath(const QString& program, const QString& folder);
};

} // namespace corvane
