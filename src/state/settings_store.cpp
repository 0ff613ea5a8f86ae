#include "state/settings_store.h"

#include <QSettings>

namespace corvane {

namespace {

QSettings Open(const QString& application) {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Corvane"),
                     application);
}

const QString kCorvane = QStringLiteral("Corvane");

} // namespace

QVariant SettingsStore::Get(const QString& application, const QString& key,
                            const QVariant& defaultValue) {
    QSettings settings = Open(application);
    return settings.value(QStringLiteral("Settings/") + key, defaultValue);
}

void SettingsStore::Save(const QString& application, const QString& key, const QVariant& value) {
    QSettings settings = Open(application);
    settings.setValue(QStringLiteral("Settings/") + key, value);
}

QString SettingsStore::AppPath(const QString& program) {
    QSettings settings = Open(kCorvane);
    return settings.value(QStringLiteral("AppPaths/") + program.toLower()).toString();
}

void SettingsStore::SetAppPath(const QString& program, const QString& folder) {
    QSettings settings = Open(kCorvane);
    settings.setValue(QStringLiteral("AppPaths/") + program.toLower(), folder);
}

} // namespace corvane
