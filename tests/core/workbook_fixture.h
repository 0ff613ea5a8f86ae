// Real workbooks for tests: the test writes its rows as a flat OpenDocument sheet and the
// spreadsheet program converts it (to .xls, .xlsx or .ods) with a profile of the tests' own.
// Conversions are kept by content, so that a second run of the tests doesn't convert again.
#pragma once

#include "output/workbook_bridge.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>

namespace corvane::test {

/// Where the tests keep the spreadsheet program's profiles and their converted workbooks.
inline QString CalcTestFolder() {
    return QDir::temp().filePath(QStringLiteral("corvane-tests-calc"));
}

/// The bridge as installed by the build, with the tests' own kept profile.
inline BridgeSettings TestBridgeSettings(const QString& profileName = QStringLiteral("bridge")) {
    BridgeSettings settings = DefaultBridgeSettings();
    settings.profileFolder = CalcTestFolder() + QStringLiteral("/profile-") + profileName;
    settings.startTimeoutMs = 120000; // a first start on a loaded machine makes the profile
    return settings;
}

/// Why the spreadsheet program can't be used here; empty when it can.
inline QString CalcMissing() {
    if (QStandardPaths::findExecutable(QStringLiteral("soffice")).isEmpty())
        return QStringLiteral("soffice is not installed (Debian: libreoffice-calc)");
    QProcess probe;
    probe.start(DefaultBridgeSettings().python,
                {QStringLiteral("-c"), QStringLiteral("import uno")});
    if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
        return QStringLiteral("python3 can't import uno (Debian: python3-uno)");
    return QString();
}

inline QString XmlText(QString text) {
    return text.replace(QLatin1Char('&'), QLatin1String("&amp;"))
        .replace(QLatin1Char('<'), QLatin1String("&lt;"))
        .replace(QLatin1Char('>'), QLatin1String("&gt;"))
        .replace(QLatin1Char('"'), QLatin1String("&quot;"));
}

/// A flat sheet of the rows: a cell "=..." is a formula in OpenFormula words ([.B1], ";"),
/// a number is a number, anything else a text, and "" an empty cell.
inline QByteArray FlatSheet(const QList<QStringList>& rows) {
    QString xml = QStringLiteral(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<office:document xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
        "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
        "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
        "xmlns:of=\"urn:oasis:names:tc:opendocument:xmlns:of:1.2\" office:version=\"1.2\" "
        "office:mimetype=\"application/vnd.oasis.opendocument.spreadsheet\">"
        "<office:body><office:spreadsheet><table:table table:name=\"Sheet1\">\n");
    for (const QStringList& row : rows) {
        xml += QStringLiteral("<table:table-row>");
        for (const QString& cell : row) {
            bool number = false;
            cell.toDouble(&number);
            if (cell.isEmpty())
                xml += QStringLiteral("<table:table-cell/>");
            else if (cell.startsWith(QLatin1Char('=')))
                xml += QStringLiteral("<table:table-cell table:formula=\"of:%1\"/>")
                           .arg(XmlText(cell));
            else if (number)
                xml += QStringLiteral("<table:table-cell office:value-type=\"float\" "
                                      "office:value=\"%1\"/>")
                           .arg(cell);
            else
                xml += QStringLiteral("<table:table-cell office:value-type=\"string\"><text:p>%1"
                                      "</text:p></table:table-cell>")
                           .arg(XmlText(cell));
        }
        xml += QStringLiteral("</table:table-row>\n");
    }
    xml += QStringLiteral("</table:table></office:spreadsheet></office:body></office:document>\n");
    return xml.toUtf8();
}

/// Makes the workbook at `path` (its extension says the kind) from the rows; the reason when
/// it can't.
inline QString MakeWorkbook(const QString& path, const QList<QStringList>& rows) {
    const QString kind = QFileInfo(path).suffix().toLower();
    const QByteArray flat = FlatSheet(rows);
    const QString hash = QString::fromLatin1(
        QCryptographicHash::hash(flat + kind.toUtf8(), QCryptographicHash::Sha1).toHex());
    const QDir cache(CalcTestFolder() + QStringLiteral("/workbooks"));
    QDir().mkpath(cache.path());
    const QString converted = cache.filePath(hash + QLatin1Char('.') + kind);
    if (!QFile::exists(converted)) {
        const QString profile = CalcTestFolder() + QStringLiteral("/profile-convert");
        QLockFile lock(profile + QStringLiteral(".lock"));
        if (!lock.lock())
            return QStringLiteral("the conversion profile is held");
        const QString source = cache.filePath(hash + QStringLiteral(".fods"));
        QFile file(source);
        if (!file.open(QIODevice::WriteOnly) || file.write(flat) != flat.size())
            return QStringLiteral("can't write ") + source;
        file.close();
        QProcess convert;
        convert.start(QStringLiteral("soffice"),
                      {QStringLiteral("-env:UserInstallation=file://") + profile,
                       QStringLiteral("--headless"), QStringLiteral("--norestore"),
                       QStringLiteral("--convert-to"), kind, QStringLiteral("--outdir"),
                       cache.path(), source});
        if (!convert.waitForFinished(180000) || !QFile::exists(converted))
            return QStringLiteral("soffice --convert-to %1 failed: %2")
                .arg(kind, QString::fromUtf8(convert.readAllStandardError()));
    }
    QFile::remove(path);
    return QFile::copy(converted, path) ? QString() : QStringLiteral("can't copy to ") + path;
}

} // namespace corvane::test
