// How long the participant waits for a picture, a film and a document: from the response to the
// item before (its ItemEnd) to the new item on the screen (ItemStart, read once the drawing has
// reached the X server), or to the film's first frame on the screen. 50 items of each kind, in a
// real window; the median and the 95th percentile. Also the conversion of each document at load.
//
//   DISPLAY=:N QT_QPA_PLATFORM=xcb build/bench/bench_media_items [ITEMS]
//   bench/media/run_media_benchmark.sh build            (starts its own Xvfb)
#include "definitions/definition_writer.h"
#include "engine/fCodes.h"
#include "engine/run_session.h"
#include "engine/scripted_boxes.h"
#include "items/media/document_cache.h"
#include "items/media/fMovie.h"
#include "preferences/load_preferences.h"
#include "preferences/preferences.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>
#include <functional>

using namespace corvane;

namespace {

QTextStream out(stdout);

bool Tool(const QString& program, const QStringList& arguments) {
    QProcess tool;
    tool.start(program, arguments);
    return tool.waitForFinished(180000) && tool.exitCode() == 0;
}

bool MakeMedia(const QDir& dir) {
    return Tool(QStringLiteral("gst-launch-1.0"),
                {QStringLiteral("-q"), QStringLiteral("videotestsrc"),
                 QStringLiteral("num-buffers=1"), QStringLiteral("pattern=smpte"),
                 QStringLiteral("!"), QStringLiteral("video/x-raw,width=800,height=600"),
                 QStringLiteral("!"), QStringLiteral("jpegenc"), QStringLiteral("!"),
                 QStringLiteral("filesink"),
                 QStringLiteral("location=") + dir.filePath(QStringLiteral("pic.jpg"))}) &&
           Tool(QStringLiteral("gst-launch-1.0"),
                {QStringLiteral("-q"), QStringLiteral("videotestsrc"),
                 QStringLiteral("num-buffers=6"), QStringLiteral("!"),
                 QStringLiteral("video/x-raw,width=320,height=240,framerate=30/1"),
                 QStringLiteral("!"), QStringLiteral("jpegenc"), QStringLiteral("!"),
                 QStringLiteral("avimux"), QStringLiteral("!"), QStringLiteral("filesink"),
                 QStringLiteral("location=") + dir.filePath(QStringLiteral("clip.avi"))});
}

void WriteLetter(const QString& path, int n) {
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    QByteArray text = "{\\rtf1\\ansi{\\fonttbl{\\f0 Times;}}\\f0\\fs28 Letter " +
                      QByteArray::number(n) + ".\\par ";
    for (int line = 0; line < 40; ++line)
        text += "A line of the letter that fills the page with text to be shown. ";
    file.write(text + "\\page The second page.\\par}");
}

double Percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    const auto at = std::size_t(
        std::min<double>(double(values.size() - 1), std::ceil(p * double(values.size())) - 1));
    return values[at];
}

void Report(const QString& what, const std::vector<double>& ms, double target) {
    if (ms.empty()) {
        out << what << ": no items measured\n";
        return;
    }
    out << what << " (" << ms.size() << " items): median "
        << QString::number(Percentile(ms, 0.5), 'f', 1) << " ms, p95 "
        << QString::number(Percentile(ms, 0.95), 'f', 1) << " ms, max "
        << QString::number(*std::max_element(ms.begin(), ms.end()), 'f', 1)
        << " ms (target <= " << target << " ms)\n";
}

// Lets events pass until `done` or `ms` of wall time.
bool Until(const std::function<bool()>& done, int ms) {
    QElapsedTimer waited;
    waited.start();
    while (!done() && waited.elapsed() < ms)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    return done();
}

void Space(QWidget* form) {
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QApplication::sendEvent(form, &press);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QApplication::sendEvent(form, &release);
}

// One questionnaire: an instruction, then `items` items of `type` on `file`, each ended as its
// kind is ended; returns the wait before each item.
std::vector<double> RunItems(const QString& folder, const QString& type, const QString& file,
                             int items, QTextStream& log) {
    QString rows =
        QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,FileName,"
                       "WriteData,WriteRT\n1,instructions,Ready.,start,,yes,yes\n");
    for (int i = 1; i <= items; ++i)
        rows += QStringLiteral("%1,%2,none,v%1,%3,yes,yes\n").arg(i + 1).arg(type, file);
    const QDir dir(folder);
    QFile::remove(dir.filePath(QStringLiteral("q.que")));
    QFile::remove(dir.filePath(QStringLiteral("e.exp")));
    CreateDefinitionFile(dir.filePath(QStringLiteral("q.que")), QStringLiteral("q.csv"), rows,
                         DefinitionKind::Questionnaire, std::nullopt);
    CreateDefinitionFile(dir.filePath(QStringLiteral("e.exp")), QStringLiteral("e.csv"),
                         QStringLiteral("Condition,position,file\na,1,q.que\n"),
                         DefinitionKind::Experiment, std::nullopt);

    RunState state;
    ScriptAnswers answers;
    state.SetBoxes(std::make_unique<ScriptedMessageBoxes>(answers, log));
    state.ExperimentFile = dir.filePath(QStringLiteral("e.exp"));
    state.ExperimentFileName = QStringLiteral("e.exp");
    state.ExperimentFolder = folder;
    QString current = folder;
    ChangeToFolder(current);
    Preferences preferences;
    LoadPreferences(state, preferences, QString());
    RunSession session(state, preferences);
    fCodes* codes = session.OpenSubjectEntry();
    codes->TextSubject()->setText(QStringLiteral("1"));
    codes->TextCondition()->setText(QStringLiteral("a"));
    codes->bOK_Click();

    const bool movie = type == QLatin1String("movie");
    const int hold = type == QLatin1String("Word Document") ? 1050 : 250;
    std::vector<double> waits;
    QWidget* form = session.CurrentForm();
    Until([] { return false; }, 300);
    Space(form); // the instruction
    for (int i = 1; i <= items; ++i) {
        const qint32 responded = state.ItemEnd;
        form = session.CurrentForm();
        if (!form || state.CurrentQuestion != i + 1) {
            out << type << ": item " << i << " did not come (see the message log)\n";
            break;
        }
        if (movie) {
            auto* film = qobject_cast<fMovie*>(form);
            if (!film || !Until([film] { return film->FirstFrameShown() != 0; }, 10000)) {
                out << "movie: no first frame of item " << i << "\n";
                break;
            }
            waits.push_back(double(Elapsed(responded, film->FirstFrameShown())));
            Until([&] { return session.CurrentForm() != film; }, 10000);
            continue;
        }
        waits.push_back(double(Elapsed(responded, state.ItemStart)));
        Until([] { return false; }, hold);
        Space(form);
    }
    session.Driver().OperatorKeys(true, true);
    QApplication::processEvents();
    return waits;
}

void OnlyFaults(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        QTextStream(stderr) << "qt: " << message << Qt::endl;
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toLocal8Bit());
    qInstallMessageHandler(OnlyFaults);
    QApplication app(argc, argv);
    const int items = argc > 1 ? std::max(1, atoi(argv[1])) : 50;
    QString problem;
    if (!ProgramFolder::Seed(&problem)) {
        out << problem << "\n";
        return 1;
    }
    QTemporaryDir study;
    const QDir dir(study.path());
    if (!MakeMedia(dir)) {
        out << "gst-launch-1.0 could not make the picture and the film\n";
        return 1;
    }
    QFile logFile(home.filePath(QStringLiteral("messages.log")));
    logFile.open(QIODevice::WriteOnly);
    QTextStream log(&logFile);

    // The conversion at load, one document after another, the first with a new profile.
    const QString office = FindOfficeProgram(QString());
    if (office.isEmpty()) {
        out << "soffice is not installed: no documents\n";
        return 1;
    }
    const DocumentCache cache = DocumentCache::Program();
    for (int n = 1; n <= 3; ++n) {
        const QString letter = dir.filePath(QStringLiteral("letter%1.rtf").arg(n));
        WriteLetter(letter, n);
        const Conversion made = cache.Convert(letter, office, kConversionTimeLimitMs);
        out << "conversion at load of letter" << n << ".rtf" << (n == 1 ? " (new profile)" : "")
            << ": " << (made.ok ? QString::number(made.ms) + QStringLiteral(" ms") : made.error)
            << "\n";
    }
    out.flush();

    Report(
        QStringLiteral("image item (800x600 JPEG), response to image on screen"),
        RunItems(study.path(), QStringLiteral("image file"), QStringLiteral("pic.jpg"), items, log),
        20);
    out.flush();
    Report(QStringLiteral("document item (cached PDF), response to first page on screen"),
           RunItems(study.path(), QStringLiteral("Word Document"), QStringLiteral("letter1.rtf"),
                    items, log),
           50);
    out.flush();
    Report(QStringLiteral("movie item (320x240 MJPEG AVI), response to first frame on screen"),
           RunItems(study.path(), QStringLiteral("movie"), QStringLiteral("clip.avi"), items, log),
           150);
    out << "platform " << QGuiApplication::platformName() << "; message log " << logFile.fileName()
        << "\n";
    return 0;
}
