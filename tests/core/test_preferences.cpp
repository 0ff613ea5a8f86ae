// Preference and QuickStyle files: full and look-only loads, the run's look-only rule, where a
// QuickStyle is found, files that can't be used, the launcher's list, and the default file that
// the build makes.
#include "definition_fixtures.h"
#include "definitions/sqlite_file.h"
#include "preferences/load_preferences.h"
#include "preferences/preference_file.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

// A record in which every field differs from a new file's.
PreferenceRecord LabRecord() {
    PreferenceRecord record;
    record.Fonts[1] = PreferenceFont{"Times New Roman", 14, true, false};
    record.Fonts[2] = PreferenceFont{"Courier New", 11.5, false, true};
    record.ForeColors[1] = 0x0000FF;
    record.BackColors[1] = 0xFFFFFF;
    record.ForeColors[2] = 0x00FF00;
    record.BackColors[2] = 0x101010;
    record.WordFolder = "/opt/word";
    record.SecondAppFolder = "/opt/second";
    record.EditMode = true;
    record.MachineCode = "A1";
    record.HideRatsFlag = true;
    record.DisableKeysFlag = true;
    record.DoubleClickFlag = true;
    record.AlternateDataFolder = "/srv/data";
    record.ExitPassword = "secret";
    return record;
}

// Another look and other options.
PreferenceRecord CalmRecord() {
    PreferenceRecord record;
    record.Fonts[1] = PreferenceFont{"Verdana", 18, false, true};
    record.Fonts[2] = PreferenceFont{"Georgia", 16, true, true};
    record.ForeColors[1] = 0x202020;
    record.BackColors[1] = 0xC0FFC0;
    record.ForeColors[2] = 0x303030;
    record.BackColors[2] = 0xE0E0E0;
    record.WordFolder = "/calm/word";
    record.EditMode = false;
    record.MachineCode = "Z9";
    record.HideRatsFlag = false;
    record.DisableKeysFlag = false;
    record.AlternateDataFolder = "/calm/data";
    record.ExitPassword = "calm";
    return record;
}

bool SameLook(const PreferenceRecord& a, const PreferenceRecord& b) {
    return a.Fonts == b.Fonts && a.ForeColors == b.ForeColors && a.BackColors == b.BackColors;
}

bool SameOptions(const PreferenceRecord& a, const PreferenceRecord& b) {
    return a.WordFolder == b.WordFolder && a.SecondAppFolder == b.SecondAppFolder &&
           a.EditMode == b.EditMode && a.MachineCode == b.MachineCode &&
           a.HideRatsFlag == b.HideRatsFlag && a.DisableKeysFlag == b.DisableKeysFlag &&
           a.DoubleClickFlag == b.DoubleClickFlag &&
           a.AlternateDataFolder == b.AlternateDataFolder && a.ExitPassword == b.ExitPassword;
}

// The options of a record as they stand in force: the machine code in its fixed width.
PreferenceRecord InForce(PreferenceRecord record) {
    record.MachineCode = Preferences::FixedMachineCode(record.MachineCode);
    return record;
}

QString GeneratedDefault() {
    return QFileInfo(CORVANE_TEMPLATE).absolutePath() + "/styles/default.cvp";
}

} // namespace

class TestPreferences : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_program;
    QString m_styles;
    QString m_experiment;
    QList<MessageBox> m_boxes;
    std::unique_ptr<RunState> m_state;

    QString Style(const QString& name) const { return QDir(m_styles).filePath(name); }
    void Write(const QString& path, const PreferenceRecord& record) {
        WritePreferenceFile(path, record);
    }
    // The settings in force after a full load of `name` with no run under way.
    Preferences LoadedFrom(const QString& name) {
        Preferences prefs;
        prefs.PreferenceFileName = name;
        LoadPreferences(*m_state, prefs, QString());
        return prefs;
    }

private slots:
    void init() {
        QVERIFY(m_dir.isValid());
        const QDir root(m_dir.path());
        static int run = 0;
        m_program = root.filePath("program-" + QString::number(++run));
        m_styles = QDir(m_program).filePath("styles");
        m_experiment = root.filePath("experiment-" + QFileInfo(m_program).fileName());
        QVERIFY(QDir().mkpath(m_styles));
        QVERIFY(QDir().mkpath(m_experiment));
        ProgramFolder::SetPath(m_program);
        m_boxes.clear();
        m_state = std::make_unique<RunState>();
        m_state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        m_state->ExperimentFolder = m_experiment;
    }

    void coloursConvertToRgb() {
        QCOMPARE(ColourToRgb(8388608), quint32(0x000080));
        QCOMPARE(ColourToRgb(16772847), quint32(0xEFEEFF));
        QCOMPARE(RgbToColour(0xEFEEFF), quint32(16772847));
    }

    void fullLoadTakesLookAndOptions() {
        Write(Style("lab.cvp"), LabRecord());
        Preferences prefs;
        const auto chosen = ChoosePreferenceFile(*m_state, prefs, Style("lab.cvp"));
        QVERIFY(chosen && chosen->read && chosen->optionsTaken && chosen->launcherShown);
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(prefs.PreferenceFileName, QString("lab.cvp"));
        QVERIFY(chosen->menu.entries[1].checked);
        QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(LabRecord()));
        QCOMPARE(prefs.MachineCode, QString("A1 "));
        QCOMPARE(prefs.Inifile, QString("lab.cvp"));
        QCOMPARE(EditStatusText(prefs.EditMode), QString("Edit On"));
        // The run reads its copies from the run state.
        QCOMPARE(m_state->ExitPassword, QString("secret"));
        QVERIFY(m_state->LockSystemKeys);
        QVERIFY(m_state->EditMode);
    }

    void machineCodeIsHeldInThreeCharacters() {
        PreferenceRecord record;
        record.MachineCode = "ABCDE";
        Write(Style("long.cvp"), record);
        QCOMPARE(LoadedFrom("long.cvp").MachineCode, QString("ABC"));
        record.MachineCode = "";
        Write(Style("none.cvp"), record);
        QCOMPARE(LoadedFrom("none.cvp").MachineCode, QString("   "));
        QCOMPARE(ReadPreferenceRecord(Style("long.cvp"))->MachineCode, QString("ABCDE"));
    }

    void duringARunOnlyTheLookChanges() {
        Write(Style("lab.cvp"), LabRecord());
        Write(Style("calm.cvp"), CalmRecord());
        Preferences prefs = LoadedFrom("lab.cvp");
        m_state->CurrentFile = 2;
        prefs.PreferenceFileName = "calm.cvp";
        const PreferenceLoad load = LoadPreferences(*m_state, prefs, QString());
        QVERIFY(load.read);
        QVERIFY(!load.optionsTaken);
        QVERIFY(!load.launcherShown);
        QVERIFY(SameLook(prefs, CalmRecord()));
        QVERIFY(SameOptions(prefs, InForce(LabRecord())));
        QCOMPARE(prefs.Inifile, QString("calm.cvp"));
        QCOMPARE(m_state->ExitPassword, QString("secret"));
        QVERIFY(m_state->LockSystemKeys);
        m_state->CurrentFile = 0; // once the run is over, the options come too
        QVERIFY(LoadPreferences(*m_state, prefs, QString()).optionsTaken);
        QCOMPARE(prefs.MachineCode, QString("Z9 "));
    }

    void quickStyleChangesTheLookAlone() {
        Write(Style("lab.cvp"), LabRecord());
        Write(Style("calm.cvq"), CalmRecord());
        Preferences prefs = LoadedFrom("lab.cvp");
        const PreferenceLoad load = LoadPreferences(*m_state, prefs, "calm");
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(load.read);
        QVERIFY(!load.optionsTaken);
        QVERIFY(SameLook(prefs, CalmRecord()));
        QVERIFY(SameOptions(prefs, InForce(LabRecord())));
        QCOMPARE(prefs.Inifile, QString("lab.cvp"));
        QCOMPARE(prefs.PreferenceFileName, QString("lab.cvp"));
        QCOMPARE(m_state->ExitPassword, QString("secret"));
        // "OFF" during a run restores the preference file's look.
        m_state->CurrentFile = 1;
        ApplyQuickStyle(*m_state, prefs, " OFF ");
        QVERIFY(SameLook(prefs, LabRecord()));
        ApplyQuickStyle(*m_state, prefs, "calm");
        QVERIFY(SameLook(prefs, CalmRecord()));
        QVERIFY(m_boxes.isEmpty());
    }

    void quickStyleByNameOrCapitalExtensionOpensOneFile() {
        Write(Style("calm.cvq"), CalmRecord());
        // Were a second extension added, this file would be read instead.
        Write(Style("calm.CVQ.cvq"), LabRecord());
        for (const QString& asked : {QString("calm"), QString("calm.CVQ"), QString("Calm.Cvq")}) {
            Preferences prefs;
            QVERIFY2(LoadPreferences(*m_state, prefs, asked).read, qPrintable(asked));
            QVERIFY2(SameLook(prefs, CalmRecord()), qPrintable(asked));
        }
        QVERIFY(m_boxes.isEmpty());
    }

    void quickStyleBesideTheExperimentHidesOneInStyles() {
        Write(QDir(m_experiment).filePath("calm.cvq"), CalmRecord());
        Write(Style("calm.cvq"), LabRecord());
        Preferences prefs;
        LoadPreferences(*m_state, prefs, "calm");
        QVERIFY(SameLook(prefs, CalmRecord()));
        // Without the one beside the experiment, the styles folder's is used.
        QVERIFY(QFile::remove(QDir(m_experiment).filePath("calm.cvq")));
        LoadPreferences(*m_state, prefs, "calm");
        QVERIFY(SameLook(prefs, LabRecord()));
        QVERIFY(m_boxes.isEmpty());
    }

    void missingQuickStyleKeepsTheLook() {
        Write(Style("lab.cvp"), LabRecord());
        Preferences prefs = LoadedFrom("lab.cvp");
        m_state->CurrentFile = 3;
        const PreferenceLoad load = LoadPreferences(*m_state, prefs, "nowhere");
        QVERIFY(!load.read);
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].title, QString("File not found"));
        QCOMPARE(m_boxes[0].text, QString("QuickStyle file nowhere.cvq can not be found."));
        QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(LabRecord()));
        QCOMPARE(load.menu.entries[0].caption, QString("default.cvp")); // the list is refreshed
        QCOMPARE(load.menu.ShownNames(), QStringList({"lab.cvp"}));
    }

    void missingPreferenceFileKeepsEarlierSettings() {
        Write(Style("lab.cvp"), LabRecord());
        Preferences prefs = LoadedFrom("lab.cvp");
        const auto load = ChoosePreferenceFile(*m_state, prefs, "gone.cvp");
        QVERIFY(load);
        QVERIFY(!load->read);
        QVERIFY(!load->launcherShown);
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].title, QString("File not found"));
        QCOMPARE(m_boxes[0].text, QString("Error loading preferences file."));
        QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(LabRecord()));
        QCOMPARE(m_state->ExitPassword, QString("secret"));
        // The name is taken before the file is opened.
        QCOMPARE(prefs.PreferenceFileName, QString("gone.cvp"));
        QCOMPARE(prefs.Inifile, QString("gone.cvp"));
        QCOMPARE(load->menu.ShownNames(), QStringList({"lab.cvp"}));
    }

    void unusableFilesKeepEarlierSettings_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("says");
        QTest::newRow("not a database") << "text"
                                        << "is not a preference file: it is not a "
                                           "database.";
        QTest::newRow("damaged") << "damaged"
                                 << "is damaged and can not be read.";
        QTest::newRow("another database") << "foreign"
                                          << "is not a preference file: it has no "
                                             "options table.";
        QTest::newRow("no record") << "empty"
                                   << "is not a preference file: its options table "
                                      "holds no record.";
        QTest::newRow("a folder of that name") << "folder"
                                               << "";
    }
    void unusableFilesKeepEarlierSettings() {
        QFETCH(QString, kind);
        QFETCH(QString, says);
        Write(Style("lab.cvp"), LabRecord());
        for (const QString& name : {QString("bad.cvp"), QString("bad.cvq")}) {
            const QString path = Style(name);
            if (kind == "text") {
                WriteBytes(path, "Arial\r\n10\r\nTrue\r\n");
            } else if (kind == "damaged") {
                Write(path, CalmRecord());
                QByteArray bytes = ReadAll(path);
                QVERIFY(bytes.size() > 1000);
                bytes.replace(100, 900, QByteArray(900, '\xff'));
                WriteBytes(path, bytes);
            } else if (kind == "foreign") {
                SqliteFile file(path, SqliteFile::Mode::Create);
                file.Execute("create table Table1 (QuestionType text)");
                file.Execute("insert into Table1 values ('scale')");
            } else if (kind == "empty") {
                Write(path, CalmRecord());
                SqliteFile file(path, SqliteFile::Mode::ReadWrite);
                file.Execute("delete from options");
            } else {
                QVERIFY(QDir().mkpath(path));
            }
        }
        Preferences prefs = LoadedFrom("lab.cvp");
        prefs.PreferenceFileName = "bad.cvp";
        PreferenceLoad load = LoadPreferences(*m_state, prefs, QString());
        // The box names the file and why; the settings in force stay as they were.
        const auto check = [&](const QString& title, const QString& start, const QString& file) {
            QVERIFY(!load.read);
            QCOMPARE(m_boxes.size(), 1);
            QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(LabRecord()));
            const MessageBox box = m_boxes.takeFirst();
            if (!title.isEmpty())
                QCOMPARE(box.title, title);
            if (kind == "folder")
                QCOMPARE(box.text, start);
            else
                QVERIFY2(box.text.startsWith(start) &&
                             box.text.contains("'" + Style(file) + "' " + says),
                         qPrintable(box.text));
        };
        const bool folder = kind == "folder";
        check(folder ? "File not found" : "Preferences not loaded",
              "Error loading preferences file.", "bad.cvp");
        load = LoadPreferences(*m_state, prefs, "bad");
        check(folder ? "" : "QuickStyle not loaded",
              folder ? "QuickStyle file bad.cvq can not be found."
                     : "QuickStyle file bad.cvq can not be used",
              "bad.cvq");
    }

    void missingFieldsReadAsEmptyAndNullsArePassedOver() {
        Write(Style("lab.cvp"), LabRecord());
        {
            SqliteFile file(Style("sparse.cvp"), SqliteFile::Mode::Create);
            file.Execute("create table Options (CVS_FONTNAME1 text, cvs_fcolour1 integer, "
                         "cvs_password text, cvs_hiderats text, cvs_fontsize2 text, extra text)");
            file.Execute("insert into Options values ('Courier', 255, NULL, 'yes', '12.5', 'x')");
        }
        Preferences prefs = LoadedFrom("lab.cvp");
        prefs.PreferenceFileName = "sparse.cvp";
        QVERIFY(LoadPreferences(*m_state, prefs, QString()).read);
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(prefs.Fonts[1].name, QString("Courier")); // field names in any case
        QCOMPARE(prefs.ForeColors[1], quint32(255));
        QCOMPARE(prefs.Fonts[2].size, 12.5); // a number stored as text
        // NULL and a value that is no truth value are passed over.
        QCOMPARE(prefs.ExitPassword, QString("secret"));
        QVERIFY(prefs.HideRatsFlag);
        // Missing fields read as empty ...
        QCOMPARE(prefs.WordFolder, QString());
        QVERIFY(!prefs.EditMode);
        QCOMPARE(prefs.MachineCode, QString("   "));
        QCOMPARE(prefs.BackColors[1], quint32(0));
        QVERIFY(!prefs.Fonts[1].bold);
        // ... except where a font can't take an empty value: it keeps what it had.
        QCOMPARE(prefs.Fonts[1].size, 14.0);
        QCOMPARE(prefs.Fonts[2].name, QString("Courier New"));
    }

    void menuShowsTenPlacesAtMost() {
        const QStringList names = {"alpha",  "beta", "default", "delta",   "gamma", "kappa",
                                   "lambda", "mu",   "temp",    "upsilon", "xi",    "zeta"};
        for (const QString& name : names)
            Write(Style(name + ".cvp"), PreferenceRecord());
        Write(Style("calm.cvq"), PreferenceRecord());
        WriteBytes(Style("messages.txt"), "x");
        Preferences prefs;
        PreferenceMenu menu = RefreshPreferenceMenu(prefs);
        QCOMPARE(menu.entries[0].caption, QString("default.cvp"));
        QVERIFY(menu.entries[0].visible);
        QVERIFY(menu.entries[0].checked);
        QCOMPARE(menu.ShownNames(),
                 QStringList({"alpha.cvp", "beta.cvp", "delta.cvp", "gamma.cvp", "kappa.cvp",
                              "lambda.cvp", "mu.cvp", "upsilon.cvp"}));
        // default.cvp and temp.cvp take places 3 and 9 unseen; xi and zeta find none.
        for (const std::size_t hidden : {std::size_t(3), std::size_t(9)}) {
            QVERIFY(!menu.entries[hidden].visible);
            QVERIFY(menu.entries[hidden].caption.isEmpty());
        }
        QVERIFY(menu.entries[3].checked); // the name in force, though unseen
        QCOMPARE(menu.entries[10].caption, QString("upsilon.cvp"));

        prefs.PreferenceFileName = "kappa.cvp";
        menu = RefreshPreferenceMenu(prefs);
        QVERIFY(!menu.entries[0].checked);
        QVERIFY(menu.entries[6].checked);
        QCOMPARE(menu.entries[6].caption, QString("kappa.cvp"));
        prefs.PreferenceFileName = "KAPPA.cvp"; // the tick wants the name exactly
        menu = RefreshPreferenceMenu(prefs);
        QVERIFY(!menu.entries[6].checked);
        prefs.PreferenceFileName = "DEFAULT.CVP"; // entry 0 is ticked in any case
        QVERIFY(RefreshPreferenceMenu(prefs).entries[0].checked);
    }

    void temporaryFileIsNotLoaded() {
        Write(Style("temp.cvp"), LabRecord());
        Preferences prefs;
        for (const QString& name : {QString("temp.cvp"), Style("TEMP.CVP")}) {
            m_boxes.clear();
            QVERIFY(!ChoosePreferenceFile(*m_state, prefs, name));
            QCOMPARE(m_boxes.size(), 1);
            QCOMPARE(m_boxes[0].text,
                     QString("This is a temporary file and it can not be loaded."));
        }
        QCOMPARE(prefs.PreferenceFileName, QString("default.cvp"));
        QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(PreferenceRecord()));
    }

    void quickStyleOfAnItem() {
        QVERIFY(QuickStyleForItem("calm", 0, "") == QString("calm"));
        QVERIFY(QuickStyleForItem("calm", 1, "bold") == QString("calm"));
        QVERIFY(!QuickStyleForItem("", 1, "bold")); // item 1's own text is never read
        QVERIFY(QuickStyleForItem("calm", 2, "bold") == QString("bold"));
        QVERIFY(QuickStyleForItem("", 2, "bold") == QString("bold"));
        QVERIFY(!QuickStyleForItem("calm", 3, ""));
        QVERIFY(!QuickStyleForItem("", 0, ""));
    }

    void savedRecordIsCarriedIntoForce() {
        Preferences prefs;
        ApplyPreferenceRecord(*m_state, prefs, LabRecord());
        QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(LabRecord()));
        QCOMPARE(m_state->ExitPassword, QString("secret"));
        QVERIFY(m_state->LockSystemKeys);
    }

    void savingKeepsTheShapeOfAFile() {
        {
            SqliteFile file(Style("old.cvp"), SqliteFile::Mode::Create);
            file.Execute("create table options (cvs_fontname1 text, note text)");
            file.Execute("insert into options values ('Arial', 'kept')");
            file.Execute("insert into options values ('Second', 'second')");
        }
        SavePreferenceRecord(Style("old.cvp"), LabRecord());
        QVERIFY(ReadPreferenceRecord(Style("old.cvp")) == LabRecord());
        SqliteFile file(Style("old.cvp"), SqliteFile::Mode::ReadOnly);
        const auto rows = file.Query("select note, cvs_fontname1 from options order by rowid");
        QCOMPARE(rows.size(), std::size_t(2));
        QCOMPARE(rows[0][0].ToText(), QString("kept"));
        QCOMPARE(rows[1][1].ToText(), QString("Second")); // only the first record counts

        SqliteFile(Style("bare.cvp"), SqliteFile::Mode::Create).Execute("create table t (a)");
        SavePreferenceRecord(Style("bare.cvp"), CalmRecord());
        QVERIFY(ReadPreferenceRecord(Style("bare.cvp")) == CalmRecord());
    }

    void generatedDefaultHoldsTheDefaults() {
        const QString path = GeneratedDefault();
        QVERIFY2(QFileInfo::exists(path), qPrintable(path));
        SqliteFile file(path, SqliteFile::Mode::ReadOnly);
        QStringList columns;
        const auto rows = file.Query("select * from [options]", &columns);
        QCOMPARE(rows.size(), std::size_t(1));
        QCOMPARE(columns, QStringList({"cvs_fontname1",   "cvs_fontsize1",     "cvs_fontbold1",
                                       "cvs_fontitalic1", "cvs_fcolour1",      "cvs_bcolour1",
                                       "cvs_fontname2",   "cvs_fontsize2",     "cvs_fontbold2",
                                       "cvs_fontitalic2", "cvs_fcolour2",      "cvs_bcolour2",
                                       "cvs_winword",     "cvs_wordperfect",   "cvs_editable",
                                       "cvs_machcode",    "cvs_hiderats",      "cvs_disablekeys",
                                       "cvs_doubleclick", "cvs_alternatedata", "cvs_password"}));
        QCOMPARE(rows[0][6].ToText(), QString("Arial"));
        QCOMPARE(rows[0][10].ToNumber(), 8388608.0);
        QCOMPARE(rows[0][11].ToNumber(), 16772847.0);
        QVERIFY(ReadPreferenceRecord(path) == PreferenceRecord());
    }

    void generatedDefaultLoadsAsTheDefaults() {
        QVERIFY(QFile::copy(GeneratedDefault(), Style("default.cvp")));
        Write(Style("lab.cvp"), LabRecord());
        Preferences prefs = LoadedFrom("lab.cvp");
        prefs.PreferenceFileName = "default.cvp";
        const PreferenceLoad load = LoadPreferences(*m_state, prefs, QString());
        QVERIFY(load.read && load.optionsTaken);
        QVERIFY(m_boxes.isEmpty());
        QVERIFY(static_cast<const PreferenceRecord&>(prefs) == InForce(PreferenceRecord()));
        QCOMPARE(prefs.Inifile, QString("default.cvp"));
        QCOMPARE(EditStatusText(prefs.EditMode), QString("Edit Off"));
        QVERIFY(!m_state->LockSystemKeys);
        QCOMPARE(m_state->ExitPassword, QString());
        QVERIFY(load.menu.entries[0].checked);
        QCOMPARE(load.menu.ShownNames(), QStringList({"lab.cvp"}));
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "test_preferences.moc"
