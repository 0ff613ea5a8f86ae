// Consent to an experiment's outside programs: asked once per program and file content; an
// unattended run without leave refuses and names the switch.
#include "engine/program_consent.h"
#include "recording_boxes.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

class TestProgramConsent : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QList<MessageBox> m_shown;
    QList<BoxAnswer> m_answers;

    QString Experiment(const QByteArray& content) {
        const QString path = m_dir.filePath("e.exp");
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(content);
        return path;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_dir.filePath("config")));
    }

    void askedOnceAndAgainWhenTheFileChanges() {
        RunState state;
        state.SetBoxes(std::make_unique<RecordingBoxes>(&m_shown, &m_answers));
        ProgramConsent consent(state, ProgramPolicy::Ask);
        const QString file = Experiment("first");
        m_shown.clear();

        m_answers = {BoxAnswer::No};
        QVERIFY(!consent.MayStart("/bin/task", "-x 1", file));
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_shown[0].buttons, BoxButtons::YesNo);
        QCOMPARE(m_shown[0].defaultAnswer, BoxAnswer::No);
        QVERIFY(m_shown[0].text.contains("\n\n/bin/task -x 1\n\n"));
        QVERIFY(m_shown[0].text.contains(file));

        // A No is not remembered: the next start asks again, and a Yes is.
        m_answers = {BoxAnswer::Yes};
        QVERIFY(consent.MayStart("/bin/task", "-x 1", file));
        QCOMPARE(m_shown.size(), 2);
        QVERIFY(consent.MayStart("/bin/task", "-x 2", file));
        QCOMPARE(m_shown.size(), 2);

        // Another program of the same file is asked for on its own.
        m_answers = {BoxAnswer::Yes};
        QVERIFY(consent.MayStart("/bin/other", "", file));
        QCOMPARE(m_shown.size(), 3);

        // A changed file is a new experiment: asked again.
        Experiment("changed");
        m_answers = {BoxAnswer::No};
        QVERIFY(!consent.MayStart("/bin/task", "-x 1", file));
        QCOMPARE(m_shown.size(), 4);
        // Back to the content that was confirmed: remembered.
        Experiment("first");
        QVERIFY(consent.MayStart("/bin/task", "-x 1", file));
        QCOMPARE(m_shown.size(), 4);
    }

    void unattendedRunsNeedLeave_data() {
        QTest::addColumn<int>("policy");
        QTest::addColumn<bool>("started");
        QTest::newRow("without --allow-programs") << int(ProgramPolicy::Refuse) << false;
        QTest::newRow("with --allow-programs") << int(ProgramPolicy::Allow) << true;
    }
    void unattendedRunsNeedLeave() {
        QFETCH(int, policy);
        QFETCH(bool, started);
        RunState state;
        QList<MessageBox> shown;
        state.SetBoxes(std::make_unique<RecordingBoxes>(&shown));
        ProgramConsent consent(state, ProgramPolicy(policy));
        QCOMPARE(consent.MayStart("/bin/task", "a b", Experiment("x")), started);
        QCOMPARE(shown.size(), started ? 0 : 1);
        if (!started) {
            QVERIFY(shown[0].text.contains("/bin/task a b"));
            QVERIFY(shown[0].text.contains("--allow-programs"));
        }
    }
};

QTEST_GUILESS_MAIN(TestProgramConsent)
#include "test_program_consent.moc"
