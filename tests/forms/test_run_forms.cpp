// How a run finds its forms (the presenter registry, by item type and list-entry kind, and the
// path for what no form presents) and the countdown of a visible time limit.
#include "engine/run_driver.h"
#include "run_fixture.h"

#include <QLabel>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

// A presenter that shows itself and ends with "fake" at the first key.
class FakeForm : public ItemForm {
public:
    explicit FakeForm(RunContext& run) : ItemForm(run, QStringLiteral("fFake")) {}
    void Load() override {
        PrepareForm();
        ApplyFormGeometry();
        State().ItemStart = ShowAndRead();
    }

protected:
    void ToolClick(const QString&) override {}
    bool ItemKey(QKeyEvent*, qint32 eventTime) override {
        State().ItemEnd = eventTime;
        const QString skip = State().CurrentQuestion > 0 ? Item().skip : QString();
        Unload();
        Driver().EndItem(QStringLiteral("fake"), skip);
        return true;
    }
};

} // namespace

class TestRunForms : public QObject {
    Q_OBJECT
private slots:
    void registryAnswersByTypeAndKind_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("presented");
        QTest::newRow("registered type") << "essay" << -1 << true;
        QTest::newRow("type in capitals") << "Essay" << -1 << true;
        QTest::newRow("other type") << "ranking" << -1 << false;
        QTest::newRow("registered kind") << "" << int(FileKindClass::Image) << true;
        QTest::newRow("other kind") << "" << int(FileKindClass::Sound) << false;
    }
    void registryAnswersByTypeAndKind() {
        QFETCH(QString, type);
        QFETCH(int, kind);
        QFETCH(bool, presented);
        PresenterRegistry fakes;
        fakes.Add<FakeForm>({"essay"}, {FileKindClass::Image});
        const bool answered = kind < 0 ? fakes.Presents(type) : fakes.Presents(FileKindClass(kind));
        QCOMPARE(answered, presented);
    }

    void aRegisteredFormPresentsItemsAndEntries() {
        PresenterRegistry fakes;
        fakes.Add<FakeForm>({"essay"}, {FileKindClass::Image});
        RunFixture run;
        run.presenters = &fakes;
        MakeDefinition(run.Folder(), "q.que",
                       "questionnumber,QuestionType,QuestionWording,VariableName\n"
                       "1,essay,Write.,e1\n2,ranking,Rank.,r1\n3,essay,Again.,e2\n");
        WriteBytes(QDir(run.Folder()).filePath("pic.bmp"), {});
        run.Open("Condition,position,file\na,1,pic.bmp\na,2,q.que\n");
        QCOMPARE(run.Form()->objectName(), "fFake"); // the list entry, by its kind
        QCOMPARE(run.state.CurrentQuestion, qint16(0));
        run.Wait(100);
        QTest::keyClick(run.Form(), Qt::Key_A);
        QCOMPARE(run.Form()->objectName(), "fFake"); // the essay item, by its type
        run.Wait(250);
        QTest::keyClick(run.Form(), Qt::Key_A);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "fake");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 250);
        // No form presents rankings here: told as a type it does not know, and passed over.
        QVERIFY(run.boxes.last().text.contains("as 'ranking.'  This is not currently a valid"));
        QCOMPARE(run.state.CurrentQuestion, qint16(3));
    }

    void theProgramRegistersItsForms_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("form");
        QTest::newRow("scale") << "scale response"
                               << "fScale";
        QTest::newRow("instructions") << "instructions"
                                      << "fInstruction";
        QTest::newRow("ranking") << "ranking"
                                 << "fRank";
        QTest::newRow("voice response") << "voice response"
                                        << "fVoiceResponse";
        QTest::newRow("no such type") << "card sort"
                                      << "";
    }
    void theProgramRegistersItsForms() {
        QFETCH(QString, type);
        QFETCH(QString, form);
        RunFixture run;
        run.Start("questionnumber,QuestionType,QuestionWording,VariableName,Parameters\n",
                  "1," + type + ",Which?,i1,(p3)\n2,instructions,Last.,i2,\n");
        if (form.isEmpty()) {
            QVERIFY(run.boxes.last().text.contains("This is not currently a valid item type"));
            QCOMPARE(run.state.CurrentQuestion, qint16(2));
        } else {
            QCOMPARE(run.Form()->objectName(), form);
            QCOMPARE(run.state.CurrentQuestion, qint16(1));
        }
    }

    // The countdown: whole seconds by the floor of the limit, minutes and seconds shown, hidden
    // at "00:00"; none for a limit without the sign, gone when the limit strikes.
    void countdownOfAVisibleLimit_data() {
        QTest::addColumn<QString>("limit");
        QTest::addColumn<int>("waited");
        QTest::addColumn<QString>("shown"); // "" for a hidden label, "-" for no countdown
        QTest::newRow("floor of a fraction") << "(d-1.5)" << 0 << "00:02";
        QTest::newRow("ninety seconds") << "(d-90)" << 0 << "01:30";
        QTest::newRow("counting down") << "(d-90)" << 30500 << "00:59";
        QTest::newRow("an hour and five minutes") << "(d-3900)" << 0 << "05:00";
        QTest::newRow("hidden at zero") << "(d-2)" << 1950 << "";
        QTest::newRow("gone with the limit") << "(d-2)" << 3000 << "-";
        QTest::newRow("a limit without countdown") << "(d20)" << 0 << "-";
        QTest::newRow("no limit") << "" << 0 << "-";
    }
    void countdownOfAVisibleLimit() {
        QFETCH(QString, limit);
        QFETCH(int, waited);
        QFETCH(QString, shown);
        RunFixture run;
        run.Start("questionnumber,QuestionType,QuestionWording,VariableName\n",
                  "1,instructions,Read.,i1\n2,instructions,More.,i2\n", limit);
        run.Wait(waited);
        QWidget* timer = VisibleWindow("fTimer");
        QCOMPARE(timer != nullptr, shown != "-");
        QCOMPARE(run.state.TimerFormUp, shown != "-" ? True : False);
        if (!timer)
            return;
        auto* left = timer->findChild<QLabel*>("lTimeLeft");
        QCOMPARE(left->isVisible(), !shown.isEmpty());
        if (!shown.isEmpty())
            QCOMPARE(left->text(), shown);
    }
};

QTEST_MAIN(TestRunForms)
#include "test_run_forms.moc"
