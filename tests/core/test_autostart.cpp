// Subject entry without the form: the autostart list in its two forms, the verify switch, the
// data root and the clearing of old data.
#include "engine/autostart.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

void Write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray Read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

QStringList Texts(const QList<MessageBox>& boxes) {
    QStringList texts;
    for (const MessageBox& box : boxes)
        texts << box.text;
    return texts;
}

const char* kUseIt = "Use autostart file?";
const char* kEnterId = "Please enter your participant number and then press enter";
const char* kAnother = "This ID does not seem to appear in the autostart file.  Choose another?";
const char* kCompleted = "The autostart list has been completed.";

} // namespace

class TestAutoStart : public QObject {
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> m_dir;
    QList<MessageBox> m_shown;
    QList<BoxAnswer> m_answers;
    QList<std::optional<QString>> m_inputs;
    RunState m_state;
    bool m_verify = false;

    bool Check() { return CheckAutoStart(m_state, m_verify); }

    // Makes a folder read-only; false when that stops nothing (as for root).
    static bool MakeReadOnly(const QString& folder) {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        QFile probe(QDir(folder).filePath("probe"));
        if (!probe.open(QIODevice::WriteOnly))
            return true;
        probe.remove();
        return false;
    }
    static void MakeWritable(const QString& folder) {
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QVERIFY(QDir::setCurrent(m_dir->path()));
        m_shown.clear();
        m_answers.clear();
        m_inputs.clear();
        m_state.SetBoxes(std::make_unique<RecordingBoxes>(&m_shown, &m_answers, &m_inputs));
        m_state.SubjectID = "before";
        m_state.ConditionID = "before";
        m_state.NextSessionAccepted = False;
    }

    // --- The list form -------------------------------------------------------------------------

    void listFormTakesOneRowPerRunAndMarksIt() {
        Write("autostart.txt", "1,A\r\n2,B\r\n\r\n3,C\r\n");
        const QList<QByteArray> after{"1,A*\r\n2,B\r\n3,C\r\n", "1,A*\r\n2,B*\r\n3,C\r\n",
                                      "1,A*\r\n2,B*\r\n3,C*\r\n"};
        for (int run = 0; run < 3; ++run) {
            m_shown.clear();
            QVERIFY(Check());
            QCOMPARE(m_state.SubjectID, QString::number(run + 1));
            QCOMPARE(m_state.ConditionID, QString(QChar('A' + run)));
            QCOMPARE(Read("autostart.txt"), after[run]);
            QCOMPARE(Texts(m_shown), QStringList{kUseIt});
            QCOMPARE(m_shown[0].buttons, BoxButtons::YesNo);
            QCOMPARE(m_shown[0].defaultAnswer, BoxAnswer::Yes);
        }
        m_shown.clear();
        QVERIFY(!Check());
        QCOMPARE(Texts(m_shown), (QStringList{kUseIt, kCompleted}));
        QCOMPARE(m_shown[1].icon, BoxIcon::Information);
        QCOMPARE(Read("autostart.txt"), after[2]);
    }

    void listFormRewrite_data() {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("condition");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("blank lines dropped") << QByteArray("\r\n1,A*\r\n\r\n2,B\r\n\r\n") << "2"
                                             << "B" << QByteArray("1,A*\r\n2,B*\r\n");
        QTest::newRow("half rows dropped") << QByteArray("1,\r\n,A\r\n2\r\n3,C") << "3"
                                           << "C" << QByteArray("3,C*\r\n");
        QTest::newRow("line feeds become CR LF") << QByteArray("1,A\n2,B\n") << "1"
                                                 << "A" << QByteArray("1,A*\r\n2,B\r\n");
        QTest::newRow("blanks trimmed") << QByteArray("  7 ,  x y  \r\n") << "7"
                                        << "x y" << QByteArray("7,x y*\r\n");
        QTest::newRow("quotes kept where needed")
            << QByteArray("\"S 1\",\"a, b\"\r\n\" pad \",c\r\n") << "S 1"
            << "a, b" << QByteArray("S 1,\"a, b*\"\r\n\" pad \",c\r\n");
        QTest::newRow("8-bit text kept")
            << QByteArray("J\xfcrgen,\xe9t\xe9\r\n") << "J\u00fcrgen"
            << "\u00e9t\u00e9" << QByteArray("J\xfcrgen,\xe9t\xe9*\r\n");
        QTest::newRow("utf-8 text kept") << QByteArray("J\xc3\xbcrgen,B\r\n") << "J\u00fcrgen"
                                         << "B" << QByteArray("J\xc3\xbcrgen,B*\r\n");
        QTest::newRow("extra fields dropped") << QByteArray("1,A,note\r\n") << "1"
                                              << "A" << QByteArray("1,A*\r\n");
    }
    void listFormRewrite() {
        QFETCH(QByteArray, before);
        QFETCH(QString, subject);
        QFETCH(QString, condition);
        QFETCH(QByteArray, after);
        Write("autostart.txt", before);
        QVERIFY(Check());
        QCOMPARE(m_state.SubjectID, subject);
        QCOMPARE(m_state.ConditionID, condition);
        QCOMPARE(Read("autostart.txt"), after);
    }

    void listNotTaken_data() {
        QTest::addColumn<QByteArray>("list"); // empty: no file at all
        QTest::addColumn<QList<BoxAnswer>>("answers");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<bool>("taken");
        QTest::addColumn<QStringList>("boxes");
        QTest::newRow("no list, no question")
            << QByteArray() << QList<BoxAnswer>{} << false << false << QStringList{};
        QTest::newRow("empty list complete at once")
            << QByteArray("\n") << QList<BoxAnswer>{} << false << false
            << QStringList{kUseIt, kCompleted};
        QTest::newRow("declined") << QByteArray("1,A\n") << QList<BoxAnswer>{BoxAnswer::No} << false
                                  << false << QStringList{kUseIt};
        QTest::newRow("next session accepted: not asked")
            << QByteArray("1,A*\r\n2,B\r\n") << QList<BoxAnswer>{} << true << true << QStringList{};
    }
    void listNotTaken() {
        QFETCH(QByteArray, list);
        QFETCH(QList<BoxAnswer>, answers);
        QFETCH(bool, accepted);
        QFETCH(bool, taken);
        QFETCH(QStringList, boxes);
        if (!list.isEmpty())
            Write("autostart.txt", list.trimmed().isEmpty() ? QByteArray() : list);
        m_answers = answers;
        m_state.NextSessionAccepted = accepted ? True : False;
        QCOMPARE(Check(), taken);
        QCOMPARE(Texts(m_shown), boxes);
        QCOMPARE(m_state.SubjectID, QString(taken ? "2" : "before"));
        QCOMPARE(m_state.ConditionID, QString(taken ? "B" : "before"));
        if (!list.isEmpty() && !taken)
            QCOMPARE(Read("autostart.txt"), list.trimmed().isEmpty() ? QByteArray() : list);
    }

    void tooLongListIsReportedNotFatal_data() {
        QTest::addColumn<int>("rows");
        QTest::addColumn<bool>("taken");
        QTest::newRow("1000 rows fit") << 1000 << true;
        QTest::newRow("1001 rows do not") << 1001 << false;
    }
    void tooLongListIsReportedNotFatal() {
        QFETCH(int, rows);
        QFETCH(bool, taken);
        QByteArray list;
        for (int row = 1; row <= rows; ++row) // all marked but the last, with a blank between
            list += QByteArray::number(row) + (row < rows ? ",c*\r\n\r\n" : ",c\r\n");
        Write("autostart.txt", list);
        QCOMPARE(Check(), taken);
        if (taken) {
            QCOMPARE(m_state.SubjectID, QString::number(rows));
            return;
        }
        QCOMPARE(m_state.SubjectID, QString("before"));
        QCOMPARE(Read("autostart.txt"), list);
        QCOMPARE(m_shown.size(), 2);
        const MessageBox& box = m_shown[1];
        QCOMPARE(box.title, QString("Corvane Error Trapper"));
        QVERIFY2(box.text.contains("Error 9.") &&
                     box.text.contains(QDir(m_dir->path()).filePath("autostart.txt")),
                 qPrintable(box.text));
    }

    void unmarkableListFallsBackToTheForm() {
        Write("list/autostart.txt", "1,A\r\n");
        QVERIFY(QDir::setCurrent(m_dir->filePath("list")));
        const bool readOnly = MakeReadOnly(m_dir->filePath("list"));
        const bool result = readOnly && Check();
        MakeWritable(m_dir->filePath("list"));
        if (!readOnly)
            QSKIP("a read-only folder can be written to here");
        QVERIFY(!result); // the row would be given out again: no autostart
        QCOMPARE(Read(m_dir->filePath("list/autostart.txt")), QByteArray("1,A\r\n"));
        QCOMPARE(m_shown.size(), 2);
        QCOMPARE(m_shown[1].icon, BoxIcon::Warning);
        QVERIFY(m_shown[1].text.contains(m_dir->filePath("list/autostart.txt")));
    }

    // --- The lookup form -----------------------------------------------------------------------

    void lookup_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QList<std::optional<QString>>>("typed");
        QTest::addColumn<QList<BoxAnswer>>("another");
        QTest::addColumn<bool>("result");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QString>("condition");
        QTest::addColumn<QStringList>("boxes");
        using Typed = QList<std::optional<QString>>;
        const QByteArray file = "  Select Subject \r\n5,A\r\n7,B\r\n7,C\r\nA12,D\r\n6,E*\r\n";
        QTest::newRow("found") << file << Typed{" 5 "} << QList<BoxAnswer>{} << true << "5"
                               << "A" << QStringList{kUseIt, kEnterId};
        QTest::newRow("later row overrides")
            << file << Typed{"7"} << QList<BoxAnswer>{} << true << "7"
            << "C" << QStringList{kUseIt, kEnterId};
        QTest::newRow("marked row still found")
            << file << Typed{"6"} << QList<BoxAnswer>{} << true << "6"
            << "E*" << QStringList{kUseIt, kEnterId};
        QTest::newRow("letter first is no ID")
            << file << Typed{"A12"} << QList<BoxAnswer>{} << true << "0"
            << "" << QStringList{kUseIt, kEnterId};
        QTest::newRow("zero is no ID") << file << Typed{"0"} << QList<BoxAnswer>{} << true << "0"
                                       << "" << QStringList{kUseIt, kEnterId};
        QTest::newRow("cancel") << file << Typed{std::nullopt} << QList<BoxAnswer>{} << true << "0"
                                << "" << QStringList{kUseIt, kEnterId};
        QTest::newRow("not found, another found")
            << file << Typed{"9", "5"} << QList<BoxAnswer>{BoxAnswer::Yes, BoxAnswer::Yes} << true
            << "5"
            << "A" << QStringList{kUseIt, kEnterId, kAnother, kEnterId};
        QTest::newRow("not found, no other")
            << file << Typed{"9"} << QList<BoxAnswer>{BoxAnswer::Yes, BoxAnswer::No} << false << "0"
            << "" << QStringList{kUseIt, kEnterId, kAnother};
        QTest::newRow("quoted first item") << QByteArray("\"select subject\"\n5,A\n") << Typed{"5"}
                                           << QList<BoxAnswer>{} << true << "5"
                                           << "A" << QStringList{kUseIt, kEnterId};
    }
    void lookup() {
        QFETCH(QByteArray, file);
        QFETCH(QList<std::optional<QString>>, typed);
        QFETCH(QList<BoxAnswer>, another);
        QFETCH(bool, result);
        QFETCH(QString, subject);
        QFETCH(QString, condition);
        QFETCH(QStringList, boxes);
        Write("autostart.txt", file);
        m_inputs = typed;
        m_answers = another;
        QCOMPARE(Check(), result);
        QCOMPARE(m_state.SubjectID, subject);
        QCOMPARE(m_state.ConditionID, condition);
        QCOMPARE(Texts(m_shown), boxes);
        QCOMPARE(m_shown[1].title, QString("Enter Your ID"));
        QCOMPARE(Read("autostart.txt"), file); // nothing is marked in this form
    }

    // --- Verify, data root, clearing ------------------------------------------------------------

    void verifySubjectFileIsOnlyPresence_data() {
        QTest::addColumn<QString>("made");
        QTest::addColumn<bool>("verify");
        QTest::newRow("none") << "" << false;
        QTest::newRow("empty file") << "verifysubject.txt" << true;
        QTest::newRow("other case") << "VerifySubject.TXT" << true;
        QTest::newRow("a folder") << "verifysubject.txt/" << true;
    }
    void verifySubjectFileIsOnlyPresence() {
        QFETCH(QString, made);
        QFETCH(bool, verify);
        if (made.endsWith('/'))
            QVERIFY(QDir().mkdir(made));
        else if (!made.isEmpty())
            Write(made, "");
        m_verify = !verify;
        QVERIFY(!Check()); // no autostart.txt: still decided
        QCOMPARE(m_verify, verify);
    }

    void verifyComparesExactly() {
        QVERIFY(VerifySubjectMatches("S01", "S01"));
        QVERIFY(!VerifySubjectMatches("S01", "s01"));
        QVERIFY(!VerifySubjectMatches("S01", "S01 "));
    }

    void dataRootBelowAlternateFolderOrElseTheExperiments() {
        m_state.ExperimentFolder = m_dir->filePath("exp");
        m_state.ExperimentFileName = "study.exp";
        bool used = false;
        const QString expected = m_dir->filePath("alt/study");
        QCOMPARE(DataRootFor(m_state, m_dir->filePath("alt"), used), expected);
        QVERIFY(used);
        QCOMPARE(m_state.DataRoot, expected);
        QVERIFY(QFileInfo(expected).isDir());
        QCOMPARE(QDir::currentPath(), m_dir->path()); // relative names still read from here
        QCOMPARE(DataRootFor(m_state, "", used), m_state.ExperimentFolder);
        QVERIFY(!used);
        QVERIFY(m_shown.isEmpty());

        Write(m_dir->filePath("plain"), "a file, not a folder");
        used = true;
        QCOMPARE(DataRootFor(m_state, m_dir->filePath("plain/alt"), used), m_dir->filePath("exp"));
        QVERIFY(!used);
        QCOMPARE(m_state.DataRoot, m_dir->filePath("exp"));
        QCOMPARE(QDir::currentPath(), m_dir->path());
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].title, QString("Not a good thing"));
        QCOMPARE(m_shown[0].icon, BoxIcon::Information);
        QCOMPARE(m_shown[0].text,
                 QString("The alternate data folder specified in the current preferences can not "
                         "be created or accessed. The experiment folder will be used instead (if "
                         "possible)."));
    }

    void clearingDataDeletesFilesOnly() {
        const QStringList gone{"data/s1.txt",
                               "data/.hidden",
                               "data/byvariablename/age.csv",
                               "data/ByQuestionnaire/q1.sps", // case as made elsewhere
                               "data/.journal/study-1.journal",
                               "data/recovered/study-2.journal",
                               "data/recovered/recovered.csv"};
        const QStringList kept{"data/voice/1/a.wav", "data/other/keep.txt", "study.exp"};
        for (const QString& file : gone + kept)
            Write(m_dir->filePath(file), "x");
        QCOMPARE(ClearDataQuestion(m_dir->path()), ClearDataQuestion() + "\n\n7 file(s) in '" +
                                                       m_dir->filePath("data") +
                                                       "' will be deleted.");
        QVERIFY(ClearDataFiles(m_dir->path()));
        for (const QString& file : gone)
            QVERIFY2(!QFileInfo::exists(m_dir->filePath(file)), qPrintable(file));
        for (const QString& file : kept)
            QVERIFY2(QFileInfo::exists(m_dir->filePath(file)), qPrintable(file));
        QVERIFY(QFileInfo(m_dir->filePath("data/byvariablename")).isDir());
        QVERIFY(!QFileInfo::exists(m_dir->filePath("data/.journal")));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("data/recovered")));
        QVERIFY(ClearDataFiles(m_dir->filePath("nothing-here"))); // no data folder: nothing fails
        QCOMPARE(ClearDataQuestion(),
                 QString("Corvane will destroy any existing files in this experiment's 'Data' "
                         "directory.  This is recommended if you have made any changes to the "
                         "experiment or if you are starting the collection of real data."));
    }

    void undeletableFileIsPassedOver() {
        Write(m_dir->filePath("data/stuck.txt"), "x");
        Write(m_dir->filePath("data/byvariablename/age.csv"), "x");
        Write(m_dir->filePath("data/byquestionnaire/q1.txt"), "x");
        const bool readOnly = MakeReadOnly(m_dir->filePath("data"));
        const bool cleared = !readOnly || ClearDataFiles(m_dir->path());
        MakeWritable(m_dir->filePath("data"));
        if (!readOnly)
            QSKIP("a read-only folder can be written to here");
        QVERIFY(!cleared);
        QVERIFY(QFileInfo::exists(m_dir->filePath("data/stuck.txt")));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("data/byvariablename/age.csv")));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("data/byquestionnaire/q1.txt")));
    }
};

QTEST_GUILESS_MAIN(TestAutoStart)
#include "test_autostart.moc"
