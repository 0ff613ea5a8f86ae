// Every response form, shown in the real run window under openbox on a private X server at the
// usual lab screen sizes, keeps each visible control inside the screen, its holder and off the bar.
#include "devices/fed_sample_source.h"
#include "devices/voice_input.h"
#include "private_x_server.h"
#include "run_fixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScreen>
#include <QtTest>

using namespace corvane;
using namespace corvane::test;

namespace {

// Set in the child's environment: the child shows the forms and writes their places.
constexpr const char* kChildMode = "CORVANE_LAYOUT_REPORT";

const QStringList kSizes = {"1024x768", "1280x1024", "1366x768", "1920x1080"};

QString Header() {
    QString header = "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                     "WriteData,WriteRT,GoBack";
    for (int n = 1; n <= 12; ++n)
        header += QString(",textlabel%1").arg(n);
    for (int n = 1; n <= 12; ++n)
        header += QString(",pointlabel%1").arg(n);
    return header + "\n";
}

// An item row with twelve texts and points 1 to 12.
QString Row(int number, const QString& type, const QString& wording, const QString& name,
            const QString& parameters) {
    static const QStringList texts = {"Not at all", "Hardly",    "Very little", "A little",
                                      "Less",       "Neither",   "More",        "Fairly",
                                      "Quite",      "Very much", "Extremely",   "Completely"};
    QString row = QString("%1,%2,\"%3\",%4,\"%5\",yes,yes,yes")
                      .arg(number)
                      .arg(type, wording, name, parameters);
    for (const QString& text : texts)
        row += "," + text;
    for (int n = 1; n <= 12; ++n)
        row += QString(",%1").arg(n);
    return row + "\n";
}

const QString kTwoLines =
    "How strongly do you agree with the statement below, thinking of the last two weeks as a "
    "whole and not only of today, of the mornings and the evenings alike, at home and at work? "
    "Please choose one of the twelve points.";

// An item that comes first and is answered by its key, so that the form under test is the
// second item and its navigation bar has the Go Back button.
QString FirstItem() {
    return Row(1, "scale response", "Ready?", "first", "(p2)");
}

struct FormCase {
    const char* name;
    QString rows;
    // What brings the form under test onto the screen after the start.
    std::function<void(RunFixture&)> reach;
};

void AnswerFirst(RunFixture& run) {
    run.Wait(300);
    run.Key(Qt::Key_1);
    run.Wait(300);
}

QList<FormCase> Cases() {
    return {
        {"scale, vertical, 12 points, two-line wording",
         FirstItem() + Row(2, "scale response", kTwoLines, "v12", "(p12)"), AnswerFirst},
        {"scale, horizontal, 12 points",
         FirstItem() + Row(2, "scale response", kTwoLines, "h12", "(p12,w900)"), AnswerFirst},
        {"scale, horizontal, 12 points, written for a wider screen",
         FirstItem() + Row(2, "scale response", kTwoLines, "hw", "(p12,w1800)"), AnswerFirst},
        {"multiple response, 12 options",
         FirstItem() + Row(2, "multiple response", kTwoLines, "m12", "(p12)"), AnswerFirst},
        {"ranking, 12 labels",
         FirstItem() + Row(2, "ranking", "Rank them=last,first", "r12", "(p12)"),
         [](RunFixture& run) {
             AnswerFirst(run);
             run.Wait(500); // the labels are placed once the form has the backdrop's height
         }},
        {"fill-in-the-blank, text box",
         FirstItem() + Row(2, "fill-in-the-blank", kTwoLines, "f", "(p20)"), AnswerFirst},
        {"fill-in-the-blank, 24 boxes",
         FirstItem() + Row(2, "fill-in-the-blank", kTwoLines, "fm", "(m************-***********)"),
         AnswerFirst},
        {"essay", FirstItem() + Row(2, "essay", kTwoLines, "e", ""), AnswerFirst},
        {"thought listing", FirstItem() + Row(2, "thought listing", kTwoLines, "t", "(p5)"),
         AnswerFirst},
        {"thought rating, 12 points",
         Row(1, "thought listing", "List.", "t", "(p1)") +
             Row(2, "thought rating", kTwoLines, "tr", "(p12,qt)"),
         [](RunFixture& run) {
             run.Wait(300);
             run.Type("the sun");
             run.Key(Qt::Key_Return);
             run.Wait(300);
         }},
        {"on-line rating, 12 points, over a scale",
         FirstItem() + Row(2, "on-line rating", "Rate", "o", "(p12)") +
             Row(3, "scale response", kTwoLines, "v", "(p12)"),
         AnswerFirst},
        {"voice response, 12 boxes",
         FirstItem() + Row(2, "voice response", kTwoLines, "voice", "(p12)"), AnswerFirst},
    };
}

QJsonArray Rect(const QRect& rect) {
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

QRect RectOf(const QJsonValue& value) {
    const QJsonArray a = value.toArray();
    return QRect(a.at(0).toInt(), a.at(1).toInt(), a.at(2).toInt(), a.at(3).toInt());
}

QRect GlobalRect(const QWidget* widget) {
    return QRect(widget->mapToGlobal(QPoint(0, 0)), widget->size());
}

// The visible controls of a window, each with its place and its holder's place on the screen.
QJsonArray Controls(QWidget* window) {
    QJsonArray controls;
    const QRect screen = window->screen()->geometry();
    controls.append(QJsonObject{{"name", window->objectName()},
                                {"rect", Rect(GlobalRect(window))},
                                {"holder", Rect(screen)},
                                {"bar", false}});
    const auto children = window->findChildren<QWidget*>();
    for (const QWidget* control : children) {
        if (!control->isVisible() || control->size().isEmpty() || control->isWindow())
            continue;
        bool onBar = false;
        for (const QWidget* w = control; w && w != window; w = w->parentWidget())
            onBar = onBar || w->objectName() == QLatin1String("Bar1");
        controls.append(QJsonObject{{"name", control->objectName()},
                                    {"class", control->metaObject()->className()},
                                    {"rect", Rect(GlobalRect(control))},
                                    {"holder", Rect(GlobalRect(control->parentWidget()))},
                                    {"bar", onBar}});
    }
    return controls;
}

// Shows one form in the run window and tells the places of its controls.
QJsonObject ReportOne(const FormCase& formCase) {
    RunFixture run;
    run.Start(Header(), formCase.rows);
    formCase.reach(run);
    QWidget* form = run.Form();
    QJsonObject report{{"case", formCase.name}};
    // The window manager has placed the window once it is exposed and has settled.
    if (!form)
        report.insert("error", "no form on the screen");
    else if (!QTest::qWaitForWindowExposed(form))
        report.insert("error", "the form never reached the screen");
    if (report.contains("error"))
        return report;
    QTest::qWait(300);
    report.insert("form", form->objectName());
    report.insert("screen", Rect(form->screen()->geometry()));
    report.insert("controls", Controls(form));
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (window != form && window->isVisible() &&
            window->objectName() == QLatin1String("fOnLine"))
            report.insert("overlay", Controls(window));
    }
    return report;
}

// The child: shows each form in the run window and writes one line of JSON per form.
int ReportLayouts() {
    QTextStream out(stdout);
    QByteArray silence(44100 * 60, char(128));
    SetVoiceInput(
        [&silence](RunClock& clock) { return std::make_unique<FedSampleSource>(clock, silence); });
    for (const FormCase& formCase : Cases()) {
        out << QJsonDocument(ReportOne(formCase)).toJson(QJsonDocument::Compact) << "\n";
        out.flush();
        // Windows that outlive their run (the on-line bar over an item never ended) go now.
        const auto left = QApplication::topLevelWidgets();
        for (QWidget* window : left)
            window->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    SetVoiceInput({});
    return 0;
}

QString Describe(const QJsonObject& control) {
    const QRect r = RectOf(control["rect"]);
    return QString("%1 (%2) at %3,%4 %5x%6")
        .arg(control["name"].toString(), control["class"].toString())
        .arg(r.x())
        .arg(r.y())
        .arg(r.width())
        .arg(r.height());
}

} // namespace

class TestFormLayout : public QObject {
    Q_OBJECT

    // Per screen size: the reports by case, or why there are none.
    QMap<QString, QMap<QString, QJsonObject>> m_reports;
    QMap<QString, QString> m_skipped;
    QMap<QString, QString> m_failed;

    void Measure(const QString& size) {
        if (m_reports.contains(size) || m_skipped.contains(size) || m_failed.contains(size))
            return;
        PrivateXServer x;
        if (QString why = x.Start(size); !why.isEmpty()) {
            m_skipped.insert(size, why);
            return;
        }
        if (QString why = x.StartOpenbox(); !why.isEmpty()) {
            m_skipped.insert(size, why);
            return;
        }
        QTemporaryDir home;
        QProcessEnvironment env = x.Environment();
        env.insert(kChildMode, size);
        env.insert("XDG_CONFIG_HOME", home.filePath("config"));
        env.insert("XDG_DATA_HOME", home.filePath("data"));
        env.insert("XDG_RUNTIME_DIR", home.path());
        QProcess child;
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), {});
        if (!child.waitForFinished(180000) || child.exitCode() != 0) {
            child.kill();
            m_failed.insert(size, "the child at " + size + " failed: " +
                                      QString::fromLocal8Bit(child.readAllStandardError()));
            return;
        }
        QMap<QString, QJsonObject> reports;
        for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
            const QJsonObject report = QJsonDocument::fromJson(line).object();
            if (!report.isEmpty())
                reports.insert(report["case"].toString(), report);
        }
        m_reports.insert(size, reports);
    }

private slots:
    void everyControlInsideTheScreen_data() {
        QTest::addColumn<QString>("size");
        QTest::addColumn<QString>("formCase");
        for (const QString& size : kSizes) {
            for (const FormCase& formCase : Cases())
                QTest::newRow(qPrintable(size + ": " + formCase.name)) << size << formCase.name;
        }
    }

    void everyControlInsideTheScreen() {
        QFETCH(QString, size);
        QFETCH(QString, formCase);
        Measure(size);
        if (m_skipped.contains(size))
            QSKIP(qPrintable("no X server with openbox at " + size + ": " + m_skipped[size]));
        QVERIFY2(!m_failed.contains(size), qPrintable(m_failed.value(size)));
        const QJsonObject report = m_reports[size].value(formCase);
        QVERIFY2(!report.isEmpty(), "the child reported nothing for this form");
        QVERIFY2(!report.contains("error"), qPrintable(report["error"].toString()));
        const QRect screen = RectOf(report["screen"]);
        QCOMPARE(QString("%1x%2").arg(screen.width()).arg(screen.height()), size);

        // The item form is the run window and covers the whole screen, without a frame.
        const QJsonObject window = report["controls"].toArray().first().toObject();
        QCOMPARE(RectOf(window["rect"]), screen);

        QStringList faults;
        QRect bar;
        QList<QRect> barButtons;
        const QJsonArray controls = report["controls"].toArray();
        for (const QJsonValue& value : controls) {
            const QJsonObject control = value.toObject();
            if (control["name"].toString() == QLatin1String("Bar1"))
                bar = RectOf(control["rect"]);
            else if (control["bar"].toBool())
                barButtons << RectOf(control["rect"]);
        }
        // The forms with a bar show its Go Back button here; thought listing and rating have none.
        if (!formCase.startsWith("thought"))
            QVERIFY2(!barButtons.isEmpty(), "the navigation bar shows no button");
        auto checkInside = [&](const QJsonObject& control) {
            const QRect rect = RectOf(control["rect"]);
            if (!screen.contains(rect))
                faults << Describe(control) + " reaches out of the screen";
            else if (!RectOf(control["holder"]).contains(rect))
                faults << Describe(control) + " is cut off by the control that holds it";
        };
        for (const QJsonValue& value : controls) {
            const QJsonObject control = value.toObject();
            checkInside(control);
            // The form itself and its picture box are the ground under the bar.
            const QString name = control["name"].toString();
            const bool ground = name == report["form"].toString() || name == "Picture1";
            if (!ground && !control["bar"].toBool() && !barButtons.isEmpty() &&
                RectOf(control["rect"]).intersects(bar))
                faults << Describe(control) + " lies under the navigation bar";
        }
        // A bar over the item stays clear of the item's buttons.
        for (const QJsonValue& value : report["overlay"].toArray()) {
            const QJsonObject control = value.toObject();
            checkInside(control);
            for (const QRect& button : barButtons) {
                if (RectOf(control["rect"]).intersects(button))
                    faults << Describe(control) + " covers a button of the navigation bar";
            }
        }
        if (formCase.startsWith("on-line"))
            QVERIFY2(!report["overlay"].toArray().isEmpty(), "the on-line bar isn't on the screen");
        QVERIFY2(faults.isEmpty(), qPrintable("\n" + faults.join("\n")));
    }
};

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    if (qEnvironmentVariableIsSet(kChildMode))
        return ReportLayouts();
    TestFormLayout test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "test_form_layout.moc"
