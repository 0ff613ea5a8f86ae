// Reading a questionnaire file into the item records, with its failure handling.
#include "definition_fixtures.h"
#include "definitions/questionnaire_reader.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

class TestQuestionnaireReader : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QList<MessageBox> m_boxes;

    std::unique_ptr<RunState> StateFor(const QString& file, const QString& condition = "a") {
        auto state = std::make_unique<RunState>();
        state->SetBoxes(std::make_unique<RecordingBoxes>(&m_boxes));
        state->SetRandom(std::make_unique<StandardRandomSource>(7));
        state->QuestionnaireFile = file;
        state->ConditionID = condition;
        m_boxes.clear();
        return state;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        QDir::setCurrent(m_dir.path());
    }

    void readsEveryField() {
        MakeDefinition(m_dir.path(), "full.que",
                       QuestionnaireHeader() +
                           "2,Scale Response "
                           ",none,q2,\"(p5,d3,o0)\",0,0,yes,no,no,\"(b,a)\",yes,None,1,excel,q9\n"
                           "1,instructions,Hello,intro,Go(x GO),0,0,0,0,1,,0,x,y,NONE,q2\n"
                           "3,Executable,Run,ex,(c -fast),0,0,0,0,0,(c),0,,,q1,\n");
        auto state = StateFor("full.que");
        QVERIFY(ReadQuestionnaire(*state));
        QCOMPARE(state->NumQuestions, qint16(3));
        QVERIFY(m_boxes.isEmpty());

        const Question& intro = state->Questions[1]; // rows come in questionnumber order
        QCOMPARE(intro.QuestionType, "instructions");
        QCOMPARE(intro.Parameters, "go");
        QCOMPARE(intro.InstructionExtra, " go");
        QCOMPARE(intro.WriteText, qint16(-1));
        QCOMPARE(intro.skip, "none");            // "NONE" in any case
        QCOMPARE(intro.textlabel[1], QString()); // only the label types read labels

        const Question& scale = state->Questions[2];
        QCOMPARE(scale.QuestionType, "scale response");
        QCOMPARE(scale.QuestionWording, " ");
        QCOMPARE(scale.Parameters, "5");
        QCOMPARE(scale.Duration, 3000);
        QCOMPARE(scale.MinResponse, qint16(1));
        QCOMPARE(scale.WriteData, True);
        QCOMPARE(scale.WriteRT, False);
        QCOMPARE(scale.omitconditions, qint16(1));
        QCOMPARE(scale.GoBack, True);
        QCOMPARE(scale.textlabel[1], QString()); // "None" is no label
        QCOMPARE(scale.pointlabel[1], "1");
        QCOMPARE(scale.skips[1], "none"); // "excel" switches the workbook, not a jump
        QCOMPARE(scale.skips[2], "q9");
        QCOMPARE(scale.skip, QString());

        const Question& program = state->Questions[3];
        QCOMPARE(program.ConditionAppend, " -fast"); // the value is all after the letter
        QCOMPARE(program.skip, "q1");
        QCOMPARE(program.omitconditions, qint16(0)); // "(c)" lists c, not a
    }

    void backgroundsAndGroups() {
        MakeDefinition(
            m_dir.path(), "back.que",
            "questionnumber,QuestionType,VariableName,Backimage,Backvideo,backsound,WGR,BGR\n"
            "1,image "
            "file,a,\"Pic.BMP(l10,t20,w30,h40,d9)\",\"Film.AVI(l1,t2,h3,w4)\",Beep.WAV,0.5,3.5\n");
        auto state = StateFor("back.que");
        QVERIFY(ReadQuestionnaire(*state));
        const Question& q = state->Questions[1];
        QCOMPARE(q.Backimage, "pic.bmp");
        QCOMPARE(q.BackimageLeft, qint16(10));
        QCOMPARE(q.BackimageHeight, qint16(40));
        QCOMPARE(q.Backvideo, "film.avi");
        QCOMPARE(q.BackvideoHeight, qint16(3));
        QCOMPARE(q.BackvideoWidth, qint16(4));
        QCOMPARE(q.backsound, "Beep.WAV"); // as written
        QCOMPARE(q.WGR, qint16(0));        // half to even
        QCOMPARE(q.BGR, qint16(4));
    }

    void olderFilesCanNotGoBackAndTheNameIsFoundInAnyCase() {
        const QString rows = QuestionnaireHeader() + "1,essay,x,e1,,0,0,1,1,1,,yes,,,none,\n";
        MakeDefinition(m_dir.path(), "v3.que", rows, 3.0);
        MakeDefinition(m_dir.path(), "noinfo.que", rows, std::nullopt);
        for (const char* file : {"v3.que", "noinfo.que"}) {
            auto state = StateFor(file);
            state->NumQuestionnaires = 2;
            state->QuestionnaireNames << "other.que" << QString(file).toUpper();
            QVERIFY(ReadQuestionnaire(*state));
            QCOMPARE(state->Questions[1].GoBack, False);
            QCOMPARE(state->CurrentQuestionnaire, qint16(2));
        }
    }

    void duplicateNamesAreReportedOnceInOrder() {
        MakeDefinition(m_dir.path(), "dup.que",
                       "questionnumber,QuestionType,VariableName\n"
                       "1,essay,b\n2,essay,a\n3,essay,a\n4,essay,b\n5,essay,B\n");
        auto state = StateFor("dup.que");
        QVERIFY(ReadQuestionnaire(*state));
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].text,
                 "Corvane has detected that the file 'dup.que' has the following duplicate "
                 "variable name(s):\r\rb\ra\r\r\rBe sure to assign unique variable names to all "
                 "items in this file in order to avoid potential program error.");
        QCOMPARE(state->NumQuestions, qint16(5)); // the run goes on
    }

    void faultsEndTheReadingWithNumberAndDescription_data() {
        QTest::addColumn<QString>("csv");
        QTest::addColumn<QString>("box");
        QTest::newRow("null text") << "questionnumber,QuestionType,VariableName\n1,essay,\\N\n"
                                   << "94Invalid use of Null in 'bad.que', the row with "
                                      "questionnumber 1, column VariableName";
        QTest::newRow("empty") << "questionnumber,QuestionType\n"
                               << "3021No current record.";
        QTest::newRow("eleven parameters")
            << "questionnumber,QuestionType,Parameters\n1,essay,\"(a,b,c,d,e,f,g,h,i,j,k)\"\n"
            << "9Subscript out of range in 'bad.que', the row with questionnumber 1, column "
               "Parameters";
        QTest::newRow("no open") << "questionnumber,QuestionType,Parameters\n1,essay,x)\n"
                                 << "5Invalid procedure call or argument in 'bad.que', the row "
                                    "with questionnumber 1, column Parameters";
        QTest::newRow("group too large") << "questionnumber,QuestionType,WGR\n1,essay,2\n"
                                         << "9Subscript out of range";
    }
    void faultsEndTheReadingWithNumberAndDescription() {
        QFETCH(QString, csv);
        QFETCH(QString, box);
        MakeDefinition(m_dir.path(), "bad.que", csv);
        auto state = StateFor("bad.que");
        QVERIFY(!ReadQuestionnaire(*state));
        QCOMPARE(m_boxes.size(), 1);
        QCOMPARE(m_boxes[0].text, box);
    }

    void missingFileIsReported() {
        auto state = StateFor("nowhere.que");
        QVERIFY(!ReadQuestionnaire(*state));
        QVERIFY(m_boxes[0].text.startsWith("3024"));
        QVERIFY(m_boxes[0].text.contains("nowhere.que"));
    }

    void moreRowsThanACountHoldsOverflow() {
        QString csv = "questionnumber,QuestionType,VariableName\n";
        for (int i = 1; i <= 32768; ++i)
            csv += QString::number(i) + ",essay,v\n";
        MakeDefinition(m_dir.path(), "huge.que", csv);
        auto state = StateFor("huge.que");
        QVERIFY(!ReadQuestionnaire(*state));
        QCOMPARE(m_boxes.last().text, "6Overflow");
    }
};

QTEST_GUILESS_MAIN(TestQuestionnaireReader)
#include "test_questionnaire_reader.moc"
