// Loading an experiment: the order of its checks and their words, the file list of a condition,
// the sizes of the response tables, and the column layout that the variable scan gives.
#include "definition_fixtures.h"
#include "definitions/experiment_loader.h"
#include "definitions/variable_scan.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kExperimentHeader =
    "Condition,position,file,Backimage,Backvideo,backsound,WGR,BGR,Parameters\n";
const QString kItemsHeader =
    "questionnumber,QuestionType,VariableName,Parameters,WriteData,WriteRT,WriteText\n";

} // namespace

class TestExperimentLoader : public QObject {
    Q_OBJECT

    QList<MessageBox> m_boxes;
    std::unique_ptr<QTemporaryDir> m_dir;

    QString Folder() const { return m_dir->path(); }

    void Questionnaire(const QString& name, const QString& rows) {
        MakeDefinition(Folder(), name, kItemsHeader + rows);
    }

    void Experiment(const QString& rows) {
        MakeDefinition(Folder(), "study.exp", kExperimentHeader + rows);
    }

    std::unique_ptr<RunState> Load(const QString& condition, bool expectStart) {
        auto state = std::make_unique<RunState>();
        state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        state->SetRandom(std::make_unique<StandardRandomSource>(3));
        state->ExperimentFolder = Folder();
        state->ExperimentFile = QDir(Folder()).filePath("study.exp");
        state->ConditionID = condition;
        state->SubjectID = "s1";
        state->NextSessionAccepted = True;
        ExperimentNeeds needs;
        const bool started = ReadExperimentInfo(*state, {}, needs);
        [&] { QCOMPARE(started, expectStart); }();
        return state;
    }

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QDir::setCurrent(Folder());
        m_boxes.clear();
    }

    void checksComeInTheirOrder_data() {
        QTest::addColumn<QString>("experiment");
        QTest::addColumn<QString>("condition");
        QTest::addColumn<QString>("message");
        const QString valid = "a,1,good.que,,,,0,0,\n";
        QTest::newRow("empty table")
            << ""
            << "a"
            << "There does not appear to be a condition 'a' in this experiment.";
        QTest::newRow("no questionnaire")
            << "a,1,pic.bmp,,,,0,0,\n"
            << "a"
            << "The requested experiment contains no questionnaire files.  "
               "At least one non-empty questionnaire file is required.";
        const QString cantFind =
            "Can not find the questionnaire file, '%1'. Check to make sure the questionnaire "
            "is in the specified folder.  If no folder is specified, make sure the questionnaire "
            "is in the same folder as the experiment.";
        QTest::newRow("missing in another condition") << valid + "b,1,Absent.que,,,,0,0,\n"
                                                      << "a" << cantFind.arg("Absent.que");
        QTest::newRow("missing before empty, in name order")
            << valid + "a,2,empty.que,,,,0,0,\nb,1,absent.que,,,,0,0,\n"
            << "a" << cantFind.arg("absent.que");
        QTest::newRow("empty questionnaire") << valid + "a,2,empty.que,,,,0,0,\n"
                                             << "a"
                                             << "This experiment contains an empty questionnaire.  "
                                                "'empty.que' needs to be removed or to "
                                                "have items added to it.";
        QTest::newRow("no experiment file")
            << QString() << "a"
            << "Can not find the experiment requested. It may have been deleted or moved "
               "since it was last run.  Use the 'Select and run experiment' command to "
               "find and run the experiment.'";
        QTest::newRow("missing condition")
            << valid << "z"
            << "There does not appear to be a condition 'z' in this experiment.";
    }
    void checksComeInTheirOrder() {
        QFETCH(QString, experiment);
        QFETCH(QString, condition);
        QFETCH(QString, message);
        Questionnaire("good.que", "1,essay,e1,,1,1,1\n");
        Questionnaire("empty.que", "");
        if (!experiment.isNull())
            Experiment(experiment);
        auto state = Load(condition, false);
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].text, message);
        QCOMPARE(m_boxes[0].icon, BoxIcon::Warning);
        QCOMPARE(state->NumQuestionnaires, qint16(0));
        QCOMPARE(state->NextSessionAccepted, False);
        QVERIFY(!QDir(Folder()).exists("data")); // nothing written
    }

    void conditionRowsBecomeTheFileList() {
        Questionnaire("one.que", "1,essay,e1,,1,1,1\n2,essay,e2,,1,1,1\n");
        Experiment("b,1,other.bmp,,,,0,0,\n"
                   "A,2,\"Pic.JPG(l5)\",\"Back.BMP(l1,t2,w3,h4,d1.5)\",\"clip.avi(l9,t8,h7,w6)\","
                   "Hum.WAV,0,0,\"Go(t80,d2,c -x,$Dark)\"\n"
                   "a,1,One.que,,,,0,0,\n");
        auto state = Load("a", true);
        QVERIFY(m_boxes.isEmpty());
        QCOMPARE(state->NumQuestionnaires, qint16(1));
        QCOMPARE(state->QuestionnaireNames.at(1), "One.que");
        QCOMPARE(state->MaxItems, qint16(2));
        QCOMPARE(state->NumFiles, qint16(2));
        QCOMPARE(state->Files[1].File, "one.que"); // ordered by position
        const FileEntry& pic = state->Files[2];
        QCOMPARE(pic.File, "pic.jpg(l5)"); // the list stays on
        QCOMPARE(pic.Backimage, "back.bmp");
        QCOMPARE(pic.BackimageHeight, qint16(4));
        QCOMPARE(pic.BackimageDuration, 1500);
        QCOMPARE(pic.Backvideo, "clip.avi");
        QCOMPARE(pic.Left, qint16(9)); // from the video's list
        QCOMPARE(pic.Top, qint16(80)); // the parameters override it
        QCOMPARE(pic.Width, qint16(6));
        QCOMPARE(pic.BackvideoLeft, qint16(0)); // never filled
        QCOMPARE(pic.backsound, "hum.wav");
        QCOMPARE(pic.Duration, 2000);
        QCOMPARE(pic.ConditionAppend, " -x");
        QCOMPARE(pic.Dollar, "dark");
        QCOMPARE(pic.Parameters, "go");
        QCOMPARE(pic.WGRPosition, "2");
        QCOMPARE(state->Responses().Value(1, 2, 1), QString()); // tables are allocated
    }

    void missingParametersAreReportedButDoNotStop() {
        Questionnaire("q.que", "1,Thought Listing,tl,,1,1,1\n2,Ranking,rk,,1,1,1\n"
                               "3,Thought Rating,tr,(p3),1,1,1\n");
        Experiment("a,1,q.que,,,,0,0,\n");
        Load("a", true);
        QCOMPARE(m_boxes.size(), 4); // the last from the scan, which stops at the missing list
        QCOMPARE(m_boxes[0].text,
                 "Variable 'tl' in questionnaire 'q.que' is missing the required "
                 "parameter, n.  This parameter indicates how many items you want the "
                 "subject to be able to list, e.g., (n5)");
        QCOMPARE(m_boxes[1].icon, BoxIcon::Warning);
        QVERIFY(m_boxes[1].text.contains(
            "parameter, p.  This parameter indicates the number of scale points"));
        QCOMPARE(m_boxes[2].icon, BoxIcon::Critical);
        QVERIFY(m_boxes[2].text.endsWith(
            "e.g., (qlistx).  This error will be fatal, causing the program to stop."));
        QVERIFY(m_boxes[3].text.startsWith("In questionnaire q.que, the variable  is identified"));
    }

    void scanLaysOutTheColumns() {
        Questionnaire("a.que", "1,Thought Listing,tlist,(n12),1,0,1\n"
                               "2,Ranking,rank,(p5),1,1,0\n"
                               "3,Ranking,one,\"(p5,r1-1)\",1,1,0\n"
                               "4,Multiple Response,fans,\"(p3,r1-01)\",1,1,0\n"
                               "5,Multiple Response,none,(p0),1,1,0\n"
                               "6,ranking,lower,(p4),1,1,0\n"
                               "7,Voice Response,voice,(p1),0,1,0\n"
                               "8,Thought Rating,rate,\"(qTList,p7)\",1,1,0\n"
                               "9,scale response,plain,(p5),1,1,0\n");
        Questionnaire("b.que", "1,Recall List,recall,(n0),1,1,1\n");
        Experiment("a,1,a.que,,,,0,0,\nb,1,b.que,,,,0,0,\n");
        auto state = Load("a", true);
        QVERIFY(m_boxes.isEmpty());
        const VariableTables& v = state->Variables;
        QCOMPARE(state->MaxResponses, qint16(12));
        QCOMPARE(v.ItemCount(1), qint16(9));
        QCOMPARE(v.VariableCount(1, 1).value(), qint16(12));
        QCOMPARE(v.Column(1, 1, 9).name, "tlist_09");
        QCOMPARE(v.Column(1, 1, 10).name, "tlist_10");
        QCOMPARE(SuffixedName("t", 100), "t_100");
        QCOMPARE(v.Column(1, 1, 12).type, qint16(1));
        QCOMPARE(v.Column(1, 1, 12).writeRT, False);
        QCOMPARE(v.VariableCount(1, 2).value(), qint16(5));
        QCOMPARE(v.Column(1, 2, 5).name, "rank_05");
        QCOMPARE(v.VariableCount(1, 3).value(), qint16(1));
        QCOMPARE(v.Column(1, 3, 1).name, "one");
        QCOMPARE(v.VariableCount(1, 4).value(), qint16(3)); // "1-01" is not "1-1"
        QCOMPARE(v.VariableCount(1, 5).value(), qint16(0));
        QCOMPARE(v.Column(1, 5, 1).name, "none");           // named though it writes nothing
        QCOMPARE(v.VariableCount(1, 6).value(), qint16(1)); // type words are exact
        QCOMPARE(v.VariableCount(1, 7).value(), qint16(2));
        QCOMPARE(v.Column(1, 7, 2).name, "voice_k");
        QCOMPARE(v.Column(1, 7, 2).writeData, False);
        QCOMPARE(v.VariableCount(1, 8).value(), qint16(12)); // the size of the list it rates
        QCOMPARE(v.Column(1, 8, 12).name, "rate_12");
        QCOMPARE(v.VariableCount(1, 9).value(), qint16(1));
        QCOMPARE(v.VariableCount(2, 1).value(), qint16(0));
        QCOMPARE(state->ThoughtListCount, qint16(2));
        QCOMPARE(state->ThoughtListSizes[2], qint16(0));
    }

    void unknownRatedListStopsTheScanOnly() {
        Questionnaire(
            "a.que",
            "1,Thought Rating,rate,\"(qmissing,p3)\",1,1,0\n2,scale response,after,,1,1,0\n");
        Experiment("a,1,a.que,,,,0,0,\n");
        auto state = Load("a", true);
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].text,
                 "In questionnaire a.que, the variable missing is identified in a 'thought "
                 "rating' item.  This variable was not found in any of the "
                 "questionnaires.  This error will cause Corvane to stop running when "
                 "the item is reached.");
        QVERIFY(!state->Variables.VariableCount(1, 2).has_value()); // the scan stopped there
    }

    void repeatedQuestionnairesAreReported() {
        Questionnaire("a.que", "1,essay,e,,1,1,1\n");
        Experiment("a,1,a.que,,,,0,0,\na,2,A.QUE,,,,0,0,\na,3,pic.bmp,,,,0,0,\n");
        auto state = Load("a", true);
        QCOMPARE(state->NumQuestionnaires, qint16(1)); // one name, compared in lower case
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].text,
                 "Corvane has detected that the current condition calls for the following "
                 ".que file(s) to be presented more than once:\r\ra.que\r\r\rIf the same "
                 "questionnaire needs to be presented more than once in the same "
                 "condition, copy and rename the multiple instances in order to avoid "
                 "potential program error.");
    }
};

QTEST_GUILESS_MAIN(TestExperimentLoader)
#include "test_experiment_loader.moc"
