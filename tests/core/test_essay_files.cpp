// The essay's side files: their names with and without a machine code, the record of the text
// with its line breaks, quotes and commas kept, the key log's row, and a record that the data
// folder won't take, which is kept in the program's folder and reported.
#include "output/essay_files.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const DataOutputSettings kSettings{"A1 ", "lab.cvp", "03/02/2024", "09:05:07"};

void Identify(RunState& state, const QString& root) {
    state.SubjectID = "p 7";
    state.ConditionID = "b";
    state.ExperimentFile = "/x/study.exp";
    state.DataRoot = root;
}

} // namespace

class TestEssayFiles : public QObject {
    Q_OBJECT
private slots:
    void fileNames_data() {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("ending");
        QTest::addColumn<QString>("name");
        QTest::newRow("blank code") << "   "
                                    << ".txt"
                                    << "story.txt";
        QTest::newRow("code") << "A1 "
                              << ".txt"
                              << "story A1.txt";
        QTest::newRow("key log") << " A1"
                                 << "_keypress.csv"
                                 << "story A1_keypress.csv";
    }
    void fileNames() {
        QFETCH(QString, code);
        QFETCH(QString, ending);
        QFETCH(QString, name);
        RunState state;
        state.DataRoot = "/lab/exp";
        QCOMPARE(EssayFilePath(state, "story", code, ending), "/lab/exp/data/" + name);
    }

    void records() {
        RunState state;
        Identify(state, "/lab");
        QCOMPARE(EssayRecord(state, kSettings, "It's fine, \"really\"\nSecond line\n"),
                 "'p 7', 'b', '/x/study.exp', 'lab.cvp', '03/02/2024', '09:05:07'\r\n"
                 "It's fine, \"really\"\r\nSecond line\r\n\r\n");
        QCOMPARE(KeypressRecord(state, kSettings, {}),
                 "p 7,b,/x/study.exp,lab.cvp,03/02/2024,09:05:07\r\n");
        QCOMPARE(KeypressRecord(state, kSettings, {120, 4005}),
                 "p 7,b,/x/study.exp,lab.cvp,03/02/2024,09:05:07,120,4005\r\n");
    }

    void recordsAreAppended() {
        QTemporaryDir dir;
        QList<MessageBox> boxes;
        RunState state;
        state.SetBoxes(std::make_unique<RecordingBoxes>(&boxes));
        const QString path = dir.filePath("data/e.txt");
        QVERIFY(AppendSideRecord(state, path, "one\r\n", "the essay", "e"));
        QVERIFY(AppendSideRecord(state, path, "two\r\n", "the essay", "e"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "one\r\ntwo\r\n");
        QVERIFY(boxes.isEmpty());
    }

    void aRecordTheDataFolderWontTakeIsKept() {
        QTemporaryDir dir;
        ProgramFolder::SetPath(dir.filePath("program"));
        QList<MessageBox> boxes;
        RunState state;
        state.SetBoxes(std::make_unique<RecordingBoxes>(&boxes));
        // A folder where the file should be: no file can be opened there, whoever runs this.
        const QString path = dir.filePath("data/e.txt");
        QVERIFY(QDir().mkpath(path));
        QVERIFY(!AppendSideRecord(state, path, "text\r\n", "the essay", "e"));
        const QString kept = dir.filePath("program/data/e.txt");
        QFile file(kept);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "text\r\n");
        QCOMPARE(boxes.size(), 1);
        QVERIFY(boxes[0].text.startsWith("Corvane could not write the essay of the item 'e' to '" +
                                         path + "' ("));
        QVERIFY(boxes[0].text.contains("It has been kept in '" + kept + "' instead."));
    }
};

QTEST_GUILESS_MAIN(TestEssayFiles)
#include "test_essay_files.moc"
