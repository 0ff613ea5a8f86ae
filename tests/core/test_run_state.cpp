// The run state: 16-bit counts that overflow as errors, sparse tables with dense bounds, the one
// place where responses are stored, and ResetRun.
#include "state/checked_int.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;

class TestRunState : public QObject {
    Q_OBJECT
private slots:
    void countsOverflowInsteadOfWrapping() {
        qint16 count = 32766;
        Increment(count);
        QCOMPARE(count, qint16(32767));
        try {
            Increment(count);
            QFAIL("a count past 32767 must raise the overflow error");
        } catch (const CorvaneError& error) {
            QCOMPARE(error.number(), ErrorNumber::Overflow);
        }
        QCOMPARE(count, qint16(32767));
    }

    void truthValuesAreMinusOneAndZero() {
        QCOMPARE(ToFlag(true), qint16(-1));
        QCOMPARE(ToFlag(false), qint16(0));
    }

    void responsesAreStoredThroughOnePlaceAndReported() {
        RunState state;
        state.AllocateResponses({2, 3, 4});
        QList<StoredResponse> seen;
        state.ResponseStored = [&](const StoredResponse& r) { seen << r; };
        state.StoreResponse(1, 2, 3, QStringLiteral("5"));
        state.StoreResponseTime(1, 2, 3, 812);
        QCOMPARE(state.Responses().Value(1, 2, 3), QStringLiteral("5"));
        QCOMPARE(state.Responses().Time(1, 2, 3), 812);
        QCOMPARE(state.Responses().Value(2, 3, 4), QString());
        QCOMPARE(state.Responses().Time(0, 0, 0), 0);
        QCOMPARE(seen.size(), 2);
        QCOMPARE(seen[0].value.value(), QStringLiteral("5"));
        QCOMPARE(seen[1].time.value(), 812);

        // Running an item again: the last response stands.
        state.StoreResponse(1, 2, 3, QStringLiteral("2"));
        QCOMPARE(state.Responses().Value(1, 2, 3), QStringLiteral("2"));
    }

    void tablesKeepTheirDenseBounds() {
        RunState state;
        state.AllocateResponses({2, 3, 4});
        for (auto [q, i, k] : {std::tuple{3, 1, 1}, {1, 4, 1}, {1, 1, 5}, {-1, 0, 0}}) {
            try {
                state.StoreResponse(q, i, k, QStringLiteral("x"));
                QFAIL("an index outside the bounds must raise the subscript error");
            } catch (const CorvaneError& error) {
                QCOMPARE(error.number(), ErrorNumber::Subscript);
            }
        }
        VariableTables& variables = state.Variables;
        variables.Allocate({2, 3, 4});
        QVERIFY(!variables.VariableCount(1, 1).has_value());
        variables.SetVariableCount(1, 1, 3);
        QCOMPARE(variables.VariableCount(1, 1).value(), qint16(3));
        variables.SetColumn(2, 3, 4, {QStringLiteral("t_04"), True, False, 1});
        QCOMPARE(variables.Column(2, 3, 4).name, QStringLiteral("t_04"));
        QCOMPARE(variables.Column(1, 1, 1).name, QString());
        QVERIFY_THROWS_EXCEPTION(CorvaneError, variables.Column(0, 1, 1)); // names start at 1
    }

    void resetRunEmptiesTheRun() {
        RunState state;
        state.NumQuestionnaires = 3;
        state.QuestionnaireNames << QStringLiteral("a.que");
        state.NumQuestions = 2;
        state.Questions = RunState::EmptyQuestions(2);
        state.SkipTarget = QStringLiteral("q9");
        state.AllocateResponses({1, 1, 1});
        state.Parameters.count = 4;
        state.QuestionnaireFile = QStringLiteral("a.que");
        state.ResetRun();
        QCOMPARE(state.NumQuestionnaires, qint16(0));
        QCOMPARE(state.NumQuestions, qint16(0));
        QCOMPARE(state.SkipTarget, QString());
        QCOMPARE(state.Parameters.count, 0);
        QCOMPARE(state.QuestionnaireFile, QStringLiteral("0"));
        QVERIFY(!state.Responses().IsAllocated());
        QCOMPARE(state.Questions.size(), std::size_t(1));
        QCOMPARE(state.Questions[0].BGR, qint16(-1)); // the sentinel
        QCOMPARE(state.Files[0].BGR, QStringLiteral("-1"));
    }
};

QTEST_GUILESS_MAIN(TestRunState)
#include "test_run_state.moc"
