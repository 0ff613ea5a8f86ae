// The parameter language of definition cells and the reading of numbers in them.
#include "definitions/number_reading.h"
#include "definitions/parameters.h"
#include "definitions/questionnaire_listing.h"
#include "definitions/questionnaire_reader.h"
#include "state/error.h"
#include "state/run_state.h"

#include <QtTest>

using namespace corvane;

namespace {

int ErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CorvaneError& error) {
        return error.number();
    }
    return 0;
}

Question WithParameters(const QString& cell,
                        const QString& type = QStringLiteral("scale response")) {
    ParameterList list;
    Question question;
    question.QuestionType = type;
    question.Parameters = ExtractParameters(cell, list);
    ApplyItemParameters(list, question);
    return question;
}

// What corvane-def show prints for one item.
QString Listed(const Question& question) {
    RunState state;
    state.Questions = RunState::EmptyQuestions(1);
    state.Questions[1] = question;
    state.NumQuestions = 1;
    return ListQuestionnaire(state);
}

// The letters that change an item when tried alone, out of every printable character.
QStringList RecognisedLetters() {
    const QString untouched = Listed(WithParameters(QString()));
    QStringList letters;
    for (char c = '!'; c <= '~'; ++c) {
        const QChar letter = QLatin1Char(c);
        // Brackets and commas build the list; capitals are read as small letters.
        if (QStringLiteral("(),").contains(letter) || letter.isUpper())
            continue;
        const QString cell = QStringLiteral("(") + letter + QStringLiteral("2-3>)");
        if (Listed(WithParameters(cell)) != untouched)
            letters << QString(letter);
    }
    return letters;
}

QString HelpPage(const QString& name) {
    // The help pages as the build puts them into the program's resources.
    const QString path =
        QFileInfo(QStringLiteral(CORVANE_TEMPLATE)).dir().filePath(QStringLiteral("help/") + name);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll());
}

QString Unescaped(QString html) {
    html.replace(QStringLiteral("&lt;"), QStringLiteral("<"));
    html.replace(QStringLiteral("&gt;"), QStringLiteral(">"));
    html.replace(QStringLiteral("&quot;"), QStringLiteral("\""));
    return html.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
}

struct LetterEntry {
    QString type;
    QString example;
    QString shows;
};

// The rows of the help page's table of letters, by letter.
QMap<QString, LetterEntry> DocumentedLetters() {
    static const QRegularExpression row(
        QStringLiteral("<tr id=\"letter-([^\"]+)\" data-type=\"([^\"]+)\">(.*?)</tr>"),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression example(QStringLiteral("<code class=\"example\">(.*?)</code>"));
    static const QRegularExpression shows(QStringLiteral("<code class=\"shows\">(.*?)</code>"));
    QMap<QString, LetterEntry> entries;
    auto rows = row.globalMatch(HelpPage(QStringLiteral("parameters.html")));
    while (rows.hasNext()) {
        const auto match = rows.next();
        const QString body = match.captured(3);
        entries.insert(Unescaped(match.captured(1)),
                       {match.captured(2), Unescaped(example.match(body).captured(1)),
                        Unescaped(shows.match(body).captured(1))});
    }
    return entries;
}

} // namespace

class TestParameters : public QObject {
    Q_OBJECT
private slots:
    void extraction_data() {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("entries");
        const auto add = [](const char* tag, const char* cell, const char* name,
                            const QStringList& entries) {
            QTest::newRow(tag) << QString(cell) << QString(name) << entries;
        };
        add("no list", "picture.bmp", "picture.bmp", {});
        add("no list keeps blanks", " a b ", " a b ", {});
        add("list only", "(l10)", "", {"l10"});
        add("blanks", "a.bmp (l10 , t 20)", "a.bmp", {"l10", "t 20"});
        add("lower case", "Pic.BMP(L10,X Yes)", "Pic.BMP", {"l10", "x yes"});
        add("inner close dropped", "x(a)b)", "x", {"ab"});
        add("last open counts", "f(1)(p5)", "f(1)", {"p5"});
        add("empty entry", "(a,)", "", {"a", ""});
        add("trailing blank", "n(p5) ", "n", {"p5"});
        add("ten", "(a,b,c,d,e,f,g,h,i,j)", "", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"});
    }
    void extraction() {
        QFETCH(QString, cell);
        QFETCH(QString, name);
        QFETCH(QStringList, entries);
        ParameterList list;
        QCOMPARE(ExtractParameters(cell, list), name);
        QCOMPARE(list.count, int(entries.size()));
        for (int slot = 1; slot <= 10; ++slot) {
            const QString expected =
                slot <= entries.size() ? entries.at(slot - 1) : QStringLiteral("0");
            QCOMPARE(list.entries[std::size_t(slot)], expected);
        }
    }

    void extractionFaults() {
        ParameterList list;
        QCOMPARE(ErrorOf([&] { ExtractParameters(QStringLiteral("a)"), list); }),
                 ErrorNumber::InvalidArgument);
        QCOMPARE(
            ErrorOf([&] { ExtractParameters(QStringLiteral("(a,b,c,d,e,f,g,h,i,j,k)"), list); }),
            ErrorNumber::Subscript);
    }

    void numbers_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("value");
        QTest::newRow("plain") << "12" << 12.0;
        QTest::newRow("leading blanks") << "  20" << 20.0;
        QTest::newRow("prefix") << "3.5abc" << 3.5;
        QTest::newRow("sign") << "-7" << -7.0;
        QTest::newRow("point first") << ".25" << 0.25;
        QTest::newRow("exponent") << "1e3x" << 1000.0;
        QTest::newRow("bare exponent") << "2e" << 2.0;
        QTest::newRow("nothing") << "abc" << 0.0;
        QTest::newRow("empty") << "" << 0.0;
        QTest::newRow("sign only") << "-" << 0.0;
        QTest::newRow("tiny") << "1e-400" << 0.0;
    }
    void numbers() {
        QFETCH(QString, text);
        QFETCH(double, value);
        QCOMPARE(ReadNumber(text), value);
    }

    void roundingIsHalfToEvenAndOverflowIsAnError() {
        QCOMPARE(RoundToInt16(2.5), qint16(2));
        QCOMPARE(RoundToInt16(3.5), qint16(4));
        QCOMPARE(RoundToInt16(-2.5), qint16(-2));
        QCOMPARE(RoundToInt16(2.6), qint16(3));
        QCOMPARE(RoundToInt16(32767.4), qint16(32767));
        QCOMPARE(ErrorOf([] { RoundToInt16(32767.5); }), ErrorNumber::Overflow);
        QCOMPARE(ErrorOf([] { RoundToInt16(-32769); }), ErrorNumber::Overflow);
        QCOMPARE(RoundToInt32(-32769), -32769);
        QCOMPARE(ErrorOf([] { RoundToInt32(3e9); }), ErrorNumber::Overflow);
        QCOMPARE(ErrorOf([] { ReadNumber(QStringLiteral("1e400")); }), ErrorNumber::Overflow);
        QCOMPARE(ErrorOf([] { ToSingle(1e39); }), ErrorNumber::Overflow);
    }

    void letters() {
        QCOMPARE(WithParameters(QStringLiteral("(o0)")).MinResponse, qint16(1));
        QCOMPARE(WithParameters(QStringLiteral("(o3)")).MinResponse, qint16(3));
        QCOMPARE(WithParameters(QStringLiteral("(s0)")).ScaleStep, 1.0f);
        QCOMPARE(WithParameters(QStringLiteral("(s7)")).ScaleStep, 5.0f);
        QCOMPARE(WithParameters(QStringLiteral("(s7)"), QStringLiteral("ranking")).ScaleStep, 7.0f);
        QCOMPARE(WithParameters(QStringLiteral("(<3>)")).TTLCode, QStringLiteral("3"));
        QCOMPARE(WithParameters(QStringLiteral("(p5)")).Parameters, QStringLiteral("5"));
        QCOMPARE(WithParameters(QStringLiteral("7")).Parameters, QStringLiteral("7"));
        QCOMPARE(WithParameters(QStringLiteral("text(n3,n8)")).Parameters, QStringLiteral("8"));
        QCOMPARE(WithParameters(QStringLiteral("(d2.5)")).Duration, 2500);
        QCOMPARE(WithParameters(QStringLiteral("(l10,t 20,w30,h40)")).Top, qint16(20));
        QCOMPARE(WithParameters(QStringLiteral("(@)")).At, True);
        QCOMPARE(WithParameters(QStringLiteral("(xGo On,$Dark,!5,mAAA)")).InstructionExtra,
                 QStringLiteral("go on"));
        QCOMPARE(WithParameters(QStringLiteral("(z9,l1)")).Left, qint16(1)); // unknown letters pass
        QCOMPARE(ErrorOf([] { WithParameters(QStringLiteral("(<)")); }),
                 ErrorNumber::InvalidArgument);
        QCOMPARE(ErrorOf([] { WithParameters(QStringLiteral("(l40000)")); }),
                 ErrorNumber::Overflow);
    }

    void ranges_data() {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<int>("low");
        QTest::addColumn<int>("high");
        QTest::newRow("negative low") << "(r-5-5)" << -5 << 5;
        QTest::newRow("no dash") << "(r5)" << 0 << 0;
        QTest::newRow("reversed") << "(r9-2)" << 0 << 0;
        QTest::newRow("plain") << "(r1-7)" << 1 << 7;
        QTest::newRow("equal") << "(r1-1)" << 1 << 1;
    }
    void ranges() {
        QFETCH(QString, cell);
        QFETCH(int, low);
        QFETCH(int, high);
        const Question question = WithParameters(cell);
        QCOMPARE(question.RangeLow, low);
        QCOMPARE(question.RangeHigh, high);
    }

    void omission_data() {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<QString>("condition");
        QTest::addColumn<int>("omitted");
        const auto add = [](const char* tag, const char* cell, const char* condition, int omitted) {
            QTest::newRow(tag) << QString(cell) << QString(condition) << omitted;
        };
        add("listed", "(a,b)", "B", 1);
        add("blank is kept", "(a, b)", "b", 0);
        add("first", "(a,b)", "a", 1);
        add("not listed", "(a,b)", "c", 0);
        add("too short", "()", "", 0);
        add("no close", "(a,b", "a", 0);
        add("leading blank eats the blank", " (a,b)", "a", 0);
        add("open joins the name", " (a,b)", "(a", 1);
        add("none", "none", "none", 0);
    }
    void omission() {
        QFETCH(QString, cell);
        QFETCH(QString, condition);
        QFETCH(int, omitted);
        QCOMPARE(int(IsOmitted(cell, condition)), omitted);
    }

    // Every letter the reader acts on has a help row whose example shows what the row says.
    void theHelpPageDocumentsEveryLetter_data() {
        QTest::addColumn<QString>("letter");
        const QStringList letters = RecognisedLetters();
        QVERIFY(letters.contains(QStringLiteral("p")));
        QVERIFY(!letters.contains(QStringLiteral("z")));
        for (const QString& letter : letters)
            QTest::newRow(qPrintable(letter)) << letter;
    }
    void theHelpPageDocumentsEveryLetter() {
        QFETCH(QString, letter);
        const QMap<QString, LetterEntry> documented = DocumentedLetters();
        QVERIFY2(documented.contains(letter),
                 qPrintable(QStringLiteral("no row for the letter ") + letter));
        const LetterEntry entry = documented.value(letter);
        ParameterList list;
        ExtractParameters(entry.example, list);
        bool given = false;
        for (int slot = 1; slot <= list.count; ++slot)
            given = given || SlotLetter(list.entries[std::size_t(slot)]) == letter;
        QVERIFY2(given, qPrintable(entry.example));
        QVERIFY(!entry.shows.isEmpty());
        const QStringList lines = Listed(WithParameters(entry.example, entry.type)).split('\n');
        QVERIFY2(lines.contains(QStringLiteral("  ") + entry.shows), qPrintable(lines.join('\n')));
    }

    void theHelpPageDocumentsNoOtherLetterAndTheOthersLinkToIt() {
        const QStringList recognised = RecognisedLetters();
        const QStringList documented = DocumentedLetters().keys();
        QVERIFY(!documented.isEmpty());
        for (const QString& letter : documented)
            QVERIFY2(recognised.contains(letter), qPrintable(letter));
        for (const char* page : {"corvane.html", "tutorial.html"})
            QVERIFY2(HelpPage(page).contains(QStringLiteral("href=\"parameters.html")), page);
    }
};

QTEST_GUILESS_MAIN(TestParameters)
#include "test_parameters.moc"
