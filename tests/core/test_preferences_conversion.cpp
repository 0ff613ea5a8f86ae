// Preference files of the older text form: the rule of each line, and their conversion at
// start-up into .cvp files that start as copies of default.cvp.
#include "definition_fixtures.h"
#include "definitions/sqlite_file.h"
#include "preferences/load_preferences.h"
#include "preferences/old_preferences.h"
#include "preferences/preference_file.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QtTest>
#include <map>

using namespace corvane;
using namespace corvane::test;

namespace {

// Twenty lines in which every field passes its rule and differs from a new file's.
QStringList GoodLines() {
    return {"dropped 1", "dropped 2", "True", "dropped 4", "A1",    "255",      "65535",
            "Times",     "12",        "True", "True",      "32768", "16711680", "Courier",
            "9.5",       "True",      "True", "dropped",   "True",  "True"};
}

QString GeneratedDefault() {
    return QFileInfo(CORVANE_TEMPLATE).absolutePath() + "/styles/default.cvp";
}

} // namespace

class TestPreferencesConversion : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_styles;
    QList<MessageBox> m_boxes;
    std::unique_ptr<RunState> m_state;

    QString Style(const QString& name) const { return QDir(m_styles).filePath(name); }

    // default.cvp as the build makes it, with options that a conversion must not copy.
    void InstallDefault() {
        QVERIFY(QFile::copy(GeneratedDefault(), Style("default.cvp")));
        QFile::setPermissions(Style("default.cvp"),
                              QFile::permissions(Style("default.cvp")) | QFileDevice::WriteOwner);
        PreferenceRecord lab;
        lab.ExitPassword = "secret";
        lab.AlternateDataFolder = "/srv/data";
        lab.WordFolder = "/opt/word";
        lab.SecondAppFolder = "/opt/second";
        lab.DoubleClickFlag = true;
        lab.MachineCode = "LAB";
        lab.Fonts[1].name = "Gill Sans";
        SavePreferenceRecord(Style("default.cvp"), lab);
        SqliteFile(Style("default.cvp"), SqliteFile::Mode::ReadWrite)
            .Execute("alter table options add column note text default 'from default'");
    }

private slots:
    void init() {
        QVERIFY(m_dir.isValid());
        static int run = 0;
        const QString program = QDir(m_dir.path()).filePath("program-" + QString::number(++run));
        m_styles = QDir(program).filePath("styles");
        QVERIFY(QDir().mkpath(m_styles));
        ProgramFolder::SetPath(program);
        m_boxes.clear();
        m_state = std::make_unique<RunState>();
        m_state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
    }

    void linesThatPassTheirRules() {
        const PreferenceRecord record = ConvertOldPreferenceLines(GoodLines());
        QVERIFY(record.EditMode);
        QCOMPARE(record.MachineCode, QString("A1"));
        QCOMPARE(record.ForeColors[1], quint32(255));
        QCOMPARE(record.BackColors[1], quint32(65535));
        QCOMPARE(record.Fonts[1], (PreferenceFont{"Times", 12, true, true}));
        QCOMPARE(record.ForeColors[2], quint32(32768));
        QCOMPARE(record.BackColors[2], quint32(16711680));
        QCOMPARE(record.Fonts[2], (PreferenceFont{"Courier", 9.5, true, true}));
        QVERIFY(record.HideRatsFlag);
        QVERIFY(record.DisableKeysFlag);
        // Not in the old form: the defaults of a new file.
        QCOMPARE(record.WordFolder, QString());
        QCOMPARE(record.SecondAppFolder, QString());
        QVERIFY(!record.DoubleClickFlag);
        QCOMPARE(record.AlternateDataFolder, QString());
        QCOMPARE(record.ExitPassword, QString());
        // Codes of up to three letters are kept as they are.
        QStringList lines = GoodLines();
        lines[4] = "Z";
        QCOMPARE(ConvertOldPreferenceLines(lines).MachineCode, QString("Z"));
    }

    void valuesThatFailTheirRulesTakeTheDefaults_data() {
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("value");
        QTest::newRow("edit mode in lower case") << 3 << "true";
        QTest::newRow("edit mode as a number") << 3 << "-1";
        QTest::newRow("four-letter machine code") << 5 << "ABCD";
        QTest::newRow("empty machine code") << 5 << "";
        QTest::newRow("black text colour") << 6 << "0";
        QTest::newRow("text colour not a number") << 6 << "navy";
        QTest::newRow("black background") << 7 << "0";
        QTest::newRow("empty font name") << 8 << "";
        QTest::newRow("font size zero") << 9 << "0";
        QTest::newRow("bold as Yes") << 10 << "Yes";
        QTest::newRow("italic empty") << 11 << "";
        QTest::newRow("black input text") << 12 << "0";
        QTest::newRow("black input background") << 13 << "0";
        QTest::newRow("empty input font") << 14 << "";
        QTest::newRow("input size zero") << 15 << "0.0";
        QTest::newRow("input bold FALSE") << 16 << "FALSE";
        QTest::newRow("input italic with a blank") << 17 << "True ";
        QTest::newRow("hide pictures as 1") << 19 << "1";
        QTest::newRow("keys as yes") << 20 << "yes";
    }
    void valuesThatFailTheirRulesTakeTheDefaults() {
        QFETCH(int, line);
        QFETCH(QString, value);
        QStringList lines = GoodLines();
        lines[line - 1] = value;
        const PreferenceRecord record = ConvertOldPreferenceLines(lines);
        // Only the field of the failing line falls back to a new file's value.
        using Reset = void (*)(PreferenceRecord&, const PreferenceRecord&);
        static const std::map<int, Reset> reset = {
            {3, [](auto& r, const auto& d) { r.EditMode = d.EditMode; }},
            {5, [](auto& r, const auto& d) { r.MachineCode = d.MachineCode; }},
            {6, [](auto& r, const auto& d) { r.ForeColors[1] = d.ForeColors[1]; }},
            {7, [](auto& r, const auto& d) { r.BackColors[1] = d.BackColors[1]; }},
            {8, [](auto& r, const auto& d) { r.Fonts[1].name = d.Fonts[1].name; }},
            {9, [](auto& r, const auto& d) { r.Fonts[1].size = d.Fonts[1].size; }},
            {10, [](auto& r, const auto& d) { r.Fonts[1].bold = d.Fonts[1].bold; }},
            {11, [](auto& r, const auto& d) { r.Fonts[1].italic = d.Fonts[1].italic; }},
            {12, [](auto& r, const auto& d) { r.ForeColors[2] = d.ForeColors[2]; }},
            {13, [](auto& r, const auto& d) { r.BackColors[2] = d.BackColors[2]; }},
            {14, [](auto& r, const auto& d) { r.Fonts[2].name = d.Fonts[2].name; }},
            {15, [](auto& r, const auto& d) { r.Fonts[2].size = d.Fonts[2].size; }},
            {16, [](auto& r, const auto& d) { r.Fonts[2].bold = d.Fonts[2].bold; }},
            {17, [](auto& r, const auto& d) { r.Fonts[2].italic = d.Fonts[2].italic; }},
            {19, [](auto& r, const auto& d) { r.HideRatsFlag = d.HideRatsFlag; }},
            {20, [](auto& r, const auto& d) { r.DisableKeysFlag = d.DisableKeysFlag; }}};
        PreferenceRecord expected = ConvertOldPreferenceLines(GoodLines());
        reset.at(line)(expected, PreferenceRecord());
        QVERIFY(record == expected);
        QVERIFY(!(record == ConvertOldPreferenceLines(GoodLines())));
    }

    void droppedLinesDoNotMatter() {
        QStringList lines = GoodLines();
        for (const int dropped : {1, 2, 4, 18})
            lines[dropped - 1] = "True";
        QVERIFY(ConvertOldPreferenceLines(lines) == ConvertOldPreferenceLines(GoodLines()));
    }

    void missingLinesTakeTheDefaults() {
        QVERIFY(ConvertOldPreferenceLines({}) == PreferenceRecord());
        const PreferenceRecord record = ConvertOldPreferenceLines(GoodLines().mid(0, 8));
        QCOMPARE(record.Fonts[1].name, QString("Times"));
        QCOMPARE(record.Fonts[1].size, 10.0);
        QCOMPARE(record.Fonts[2], PreferenceFont());
        QVERIFY(!record.HideRatsFlag);
    }

    void oldFilesBecomePreferenceFiles() {
        InstallDefault();
        WriteBytes(Style("lab2"), GoodLines().join("\r\n").toUtf8() + "\r\n");
        QStringList blackLines = GoodLines();
        blackLines[4] = "ABCD";
        blackLines[5] = "0";
        WriteBytes(Style("black"), blackLines.join("\n").toUtf8());
        WriteBytes(Style("messages.txt"), "not old");
        const QByteArray defaultBefore = ReadAll(Style("default.cvp"));

        const QStringList made = ConvertOldPreferences(*m_state);
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(made, QStringList({"black.cvp", "lab2.cvp"}));
        QVERIFY(!QFileInfo::exists(Style("lab2")));
        QVERIFY(!QFileInfo::exists(Style("black")));
        QVERIFY(QFileInfo::exists(Style("messages.txt")));
        QCOMPARE(ReadAll(Style("default.cvp")), defaultBefore);

        // Every field comes from the old lines or is a new file's default, never default.cvp's.
        QVERIFY(ReadPreferenceRecord(Style("lab2.cvp")) == ConvertOldPreferenceLines(GoodLines()));
        const auto black = ReadPreferenceRecord(Style("black.cvp"));
        QVERIFY(black);
        QCOMPARE(black->MachineCode, QString());
        QCOMPARE(black->ForeColors[1], quint32(8388608));
        QCOMPARE(black->ExitPassword, QString());
        QCOMPARE(black->AlternateDataFolder, QString());
        QVERIFY(!black->DoubleClickFlag);
        // The file started as a copy of default.cvp.
        SqliteFile file(Style("lab2.cvp"), SqliteFile::Mode::ReadOnly);
        QCOMPARE(file.Query("select note from options")[0][0].ToText(), QString("from default"));

        // Loaded like any preference file; a second pass finds nothing more.
        Preferences prefs;
        prefs.PreferenceFileName = "lab2.cvp";
        QVERIFY(LoadPreferences(*m_state, prefs, QString()).read);
        QCOMPARE(prefs.MachineCode, QString("A1 "));
        QCOMPARE(prefs.Fonts[2].name, QString("Courier"));
        QVERIFY(ConvertOldPreferences(*m_state).isEmpty());
        QVERIFY(m_boxes.isEmpty());
    }

    void anOldDefaultBecomesOldDefault() {
        InstallDefault();
        const QByteArray defaultBefore = ReadAll(Style("default.cvp"));
        QStringList lines = GoodLines();
        lines[7] = "Old Default Font";
        WriteBytes(Style("default"), lines.join("\r\n").toUtf8());
        WriteBytes(Style("alpha"), GoodLines().join("\r\n").toUtf8()); // listed before "default"

        const QStringList made = ConvertOldPreferences(*m_state);
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(made, QStringList({"alpha.cvp", "olddefault.cvp"}));
        QCOMPARE(ReadAll(Style("default.cvp")), defaultBefore);
        QVERIFY(!QFileInfo::exists(Style("default")));
        QVERIFY(!QFileInfo::exists(Style("olddefault")));
        QCOMPARE(ReadPreferenceRecord(Style("olddefault.cvp"))->Fonts[1].name,
                 QString("Old Default Font"));
    }

    // Without a usable default.cvp to copy, the old file stays and the box names both.
    void withoutAUsableDefaultCvpNothingIsLost_data() {
        QTest::addColumn<bool>("damaged");
        QTest::newRow("missing") << false;
        QTest::newRow("damaged") << true;
    }
    void withoutAUsableDefaultCvpNothingIsLost() {
        QFETCH(bool, damaged);
        if (damaged)
            WriteBytes(Style("default.cvp"), "not a database at all");
        WriteBytes(Style("lab2"), GoodLines().join("\r\n").toUtf8());
        QVERIFY(ConvertOldPreferences(*m_state).isEmpty());
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].title, QString("Preferences not converted"));
        QVERIFY2(m_boxes[0].text.contains(Style("lab2")) && m_boxes[0].text.contains("default.cvp"),
                 qPrintable(m_boxes[0].text));
        QVERIFY(QFileInfo::exists(Style("lab2")));
        QVERIFY(!QFileInfo::exists(Style("lab2.cvp")));
    }

    void nothingToConvert() {
        InstallDefault();
        QVERIFY(ConvertOldPreferences(*m_state).isEmpty());
        QVERIFY(QDir(Style("sub")).mkpath("."));
        QVERIFY(ConvertOldPreferences(*m_state).isEmpty()); // a folder is no old file
        QVERIFY(m_boxes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPreferencesConversion)
#include "test_preferences_conversion.moc"
