// File presenters: images placed and sized, sounds cut at the limit, films that end by themselves,
// documents converted by the office program at load, slide shows waited for. Files that can't be
// shown are named and passed over, with nothing stored before lost.
#include "engine/navigation_bar.h"
#include "forms/media_files.h"
#include "items/media/document_cache.h"
#include "items/media/fDocument.h"
#include "items/media/fImage.h"
#include "items/media/fMovie.h"
#include "items/media/fSlideShow.h"
#include "launcher/desktop.h"
#include "run_fixture.h"

#include <QLabel>
#include <QPointer>
#include <QScopeGuard>
#include <QtTest>
#include <csignal>

using namespace corvane;
using namespace corvane::test;

namespace {

const QString kHeader = "questionnumber,QuestionType,QuestionWording,VariableName,FileName,"
                        "Parameters,WGR,BGR,WriteData,WriteRT,WriteText,omitconditions,GoBack,"
                        "textlabel1,pointlabel1,skip1,skip2\n";

// One item row of the header above.
QString Row(int n, const QString& type, const QString& variable, const QString& file,
            const QString& parameters = {}, const QString& skip = "none") {
    return QString("%1,%2,none,%3,%4,%5,0,0,yes,yes,no,,no,none,none,%6,none\n")
        .arg(n)
        .arg(type, variable, file, parameters, skip);
}

// A stand-in for the office program: a shell script in `folder`.
QString FakeOffice(const QString& folder, const QByteArray& body) {
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath("soffice");
    WriteBytes(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
    return path;
}

// An instruction item after the one tested, so that the run, and its tables, are still there.
QString Last(int n) {
    return QString("%1,instructions,The end.,end,,,0,0,yes,yes,no,,no,none,none,none,none\n")
        .arg(n);
}

// A form left on the screen by a failed check must not outlive its run.
struct MediaRun : RunFixture {
    ~MediaRun() {
        if (session)
            session->UnloadCurrentForm();
    }
};

QString In(const RunFixture& run, const QString& name) {
    return QDir(run.Folder()).filePath(name);
}

// A show file, an image after it, and the office program given by its script body.
void ShowWith(RunFixture& run, const QByteArray& office) {
    WriteBytes(In(run, "show.odp"), "slides");
    QVERIFY(MakePicture(In(run, "after.png"), 32, 32).isEmpty());
    if (!office.isEmpty())
        FakeOffice(run.preferences.WordFolder = In(run, "office"), office);
}

bool ProcessAlive(const QString& pidFile) {
    const qint64 pid = ReadAll(pidFile).trimmed().toLongLong();
    return pid > 0 && ::kill(pid_t(pid), 0) == 0;
}

} // namespace

class TestMediaForms : public QObject {
    Q_OBJECT

private slots:
    void imagePlacement_data() {
        QTest::addColumn<int>("left");
        QTest::addColumn<int>("top");
        QTest::addColumn<bool>("sized");
        QTest::addColumn<QPoint>("place");
        // A 200 x 100 image in a box of 1000 x 800 on a screen of the same size.
        QTest::newRow("l1 t1: the corner, not a pixel") << 1 << 1 << false << QPoint(0, 0);
        QTest::newRow("l1 t1 sized") << 1 << 1 << true << QPoint(0, 0);
        QTest::newRow("l0 t0: centred") << 0 << 0 << false << QPoint(400, 350);
        QTest::newRow("l0 t0 sized: the corner") << 0 << 0 << true << QPoint(0, 0);
        QTest::newRow("a place in pixels") << 30 << 40 << false << QPoint(30, 40);
        QTest::newRow("a left alone centres both") << 30 << 0 << false << QPoint(400, 350);
        QTest::newRow("l1 t5: pixels") << 1 << 5 << true << QPoint(1, 5);
    }
    void imagePlacement() {
        QFETCH(int, left);
        QFETCH(int, top);
        QFETCH(bool, sized);
        QFETCH(QPoint, place);
        QCOMPARE(
            fImage::Place(left, top, sized, QSize(200, 100), QSize(1000, 800), QSize(1000, 800)),
            place);
    }

    // A list entry named in other capitals than its file, then an item sized by w and h: each
    // waits for Continue and stores "ok" with the time.
    void imagesWaitForContinueAndStoreOk() {
        MediaRun run;
        QVERIFY2(MakePicture(In(run, "Pic.PNG"), 200, 150).isEmpty(), "");
        MakeDefinition(run.Folder(), "q.que",
                       kHeader + Row(1, "image file", "img", "pic.png", "\"(w50,h40,l1,t1)\"") +
                           Last(2));
        run.Open("Condition,position,file\na,1,PIC.png\na,2,q.que\n");
        QCOMPARE(run.Form()->objectName(), "fImage");
        auto* shown = run.Control<QLabel>("Image2");
        QCOMPARE(shown->pixmap().size(), QSize(200, 150));
        QCOMPARE(run.state.CurrentQuestion, qint16(0));
        run.Wait(300);
        QTest::keyClick(run.Form(), Qt::Key_Space);
        QCOMPARE(run.state.CurrentQuestion, qint16(1));
        shown = run.Control<QLabel>("Image2");
        QCOMPARE(shown->geometry(), QRect(0, 0, 50, 40));
        QVERIFY(shown->hasScaledContents());
        run.Wait(450);
        QTest::keyClick(run.Form(), Qt::Key_Space);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 450);
    }

    // With a limit there is no Continue: the image goes on the tick past its limit.
    void anImageWithALimitEndsByIt() {
        MediaRun run;
        QVERIFY(MakePicture(In(run, "pic.jpg"), 64, 48).isEmpty());
        run.Start(kHeader, Row(1, "image file", "img", "pic.jpg", "(d2)") + Last(2));
        auto* bar = run.Control<NavigationBar>("Bar1");
        QVERIFY(bar);
        QVERIFY(bar->State("Continue") != 0);
        run.Wait(2000);
        QCOMPARE(run.Form()->objectName(), "fImage");
        run.Wait(1000);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 3000);
    }

    // A damaged image is named and passed over, with its jump; the earlier answer stays.
    void aDamagedImageIsPassedOver() {
        MediaRun run;
        QVERIFY(MakePicture(In(run, "good.png"), 64, 48).isEmpty());
        WriteBytes(In(run, "bad.jpg"), "\xff\xd8\xff\xe0 not a picture");
        run.Start(kHeader, Row(1, "image file", "first", "good.png") +
                               Row(2, "image file", "bad", "bad.jpg", "", "last") +
                               Row(3, "image file", "skipped", "good.png") +
                               Row(4, "image file", "last", "good.png"));
        run.Wait(300);
        QTest::keyClick(run.Form(), Qt::Key_Space);
        QVERIFY(run.boxes.size() >= 1);
        QVERIFY2(run.boxes.last().text.contains("'bad.jpg' can not be read"),
                 qPrintable(run.boxes.last().text));
        QCOMPARE(run.state.CurrentQuestion, qint16(4));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Value(1, 2, 1), "");
    }

    // The sound's own end ends nothing; the limit does, whatever the sound's length.
    void aSoundItemEndsAtItsLimit() {
        MediaRun run;
        QVERIFY(MakeTone(In(run, "tone.wav"), 0.2).isEmpty());
        run.Start(kHeader, Row(1, "sound file", "snd", "tone.wav", "(d1)") + Last(2));
        QCOMPARE(run.Form()->objectName(), "fSound");
        QCOMPARE(run.Control<NavigationBar>("Bar1")->State("Continue"), 0);
        QTest::qWait(600); // the sound has ended meanwhile
        QCOMPARE(run.Form()->objectName(), "fSound");
        run.Wait(1000);
        QVERIFY(run.Form());
        run.Wait(1000);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 2000);
    }

    // A film from the list on the full screen (w-1), then one as an item at its own size: each
    // ends by itself, with no Continue.
    void moviesEndByThemselves() {
        MediaRun run;
        QVERIFY(MakeMovie(In(run, "clip.avi"), 15, 160, 120).isEmpty());
        MakeDefinition(run.Folder(), "q.que",
                       kHeader + Row(1, "movie", "mov", "CLIP.avi", "\"(l20,t30)\"") +
                           Row(2, "movie", "again", "clip.avi") + Last(3));
        run.Open("Condition,position,file,Parameters\na,1,clip.avi,(w-1)\na,2,q.que,\n");
        QPointer<fMovie> movie = qobject_cast<fMovie*>(run.Form());
        QVERIFY(movie);
        QVERIFY(movie->findChild<NavigationBar*>()->State("Continue") != 0);
        QTRY_VERIFY_WITH_TIMEOUT(movie && movie->FirstFrameShown() != 0, 20000);
        QCOMPARE(movie->findChild<QWidget*>("EVideo1")->geometry(), movie->rect());
        QTRY_COMPARE_WITH_TIMEOUT(run.state.CurrentQuestion, qint16(1), 20000);
        movie = qobject_cast<fMovie*>(run.Form());
        QVERIFY(movie);
        QTRY_VERIFY_WITH_TIMEOUT(movie && movie->FirstFrameShown() != 0, 20000);
        QCOMPARE(movie->findChild<QWidget*>("EVideo1")->geometry(), QRect(20, 30, 160, 120));
        run.Wait(700); // the clock of the run, while the film plays
        QTRY_COMPARE_WITH_TIMEOUT(run.state.Responses().Value(1, 1, 1), QString("ok"), 20000);
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 700);
    }

    void aTruncatedMovieIsNamedAndPassedOver() {
        MediaRun run;
        const QString whole = In(run, "whole.avi");
        QVERIFY(MakeMovie(whole).isEmpty());
        WriteBytes(In(run, "cut.avi"), ReadAll(whole).left(600));
        QVERIFY(MakePicture(In(run, "after.png"), 32, 32).isEmpty());
        run.Start(kHeader,
                  Row(1, "movie", "cut", "cut.avi") + Row(2, "image file", "after", "after.png"));
        QTRY_COMPARE_WITH_TIMEOUT(run.state.CurrentQuestion, qint16(2), 20000);
        QVERIFY(!run.boxes.isEmpty());
        QVERIFY2(run.boxes.last().text.startsWith("The movie 'cut.avi' can not be played"),
                 qPrintable(run.boxes.last().text));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "");
        QCOMPARE(run.Form()->objectName(), "fImage");
    }

    // The real office program converts the document once, at load; the run shows the PDF's
    // first page and holds the document for its first second.
    void aDocumentIsConvertedAtLoadAndShown() {
        if (QStandardPaths::findExecutable("soffice").isEmpty())
            QSKIP("soffice (LibreOffice) is not installed");
        MediaRun run;
        WriteBytes(In(run, "Letter.RTF"), TwoPageLetter());
        run.Start(kHeader, Row(1, "Word Document", "doc", "letter.rtf") + Last(2));
        QCOMPARE(run.state.WordFound, True);
        const QDir cache(ProgramFolder::FilePath("cache/documents"));
        QCOMPARE(cache.entryList({"*.pdf"}, QDir::Files).size(), 1);
        auto* document = qobject_cast<fDocument*>(run.Form());
        QVERIFY2(document, qPrintable(run.boxes.isEmpty() ? "" : run.boxes.last().text));
        QCOMPARE(document->PageCount(), 2);
        auto* first = document->findChild<QLabel*>("Page(1)");
        QVERIFY(first && first->isVisible());
        QVERIFY(!first->pixmap().isNull());
        // Not in editing mode: the view takes no input.
        QVERIFY(
            document->findChild<QWidget*>("OLE1")->testAttribute(Qt::WA_TransparentForMouseEvents));
        QCOMPARE(first->pixmap().toImage().pixel(2, 2), qRgb(255, 255, 255)); // white paper
        run.Wait(600);
        QTest::keyClick(document, Qt::Key_Space);
        QCOMPARE(run.Form(), document); // the first second can't end it
        run.Wait(500);
        QTest::keyClick(document, Qt::Key_Space);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 1100);
    }

    void conversionFailuresAreReported_data() {
        QTest::addColumn<QByteArray>("office"); // empty: no office program
        QTest::addColumn<QString>("said");
        QTest::newRow("hangs") << QByteArray("echo $$ > \"$PIDFILE\"\nsleep 30 & wait\n")
                               << "took longer than 1 s and was stopped";
        QTest::newRow("makes nothing") << QByteArray("echo 'Error: source file could not be "
                                                     "loaded' >&2\nexit 0\n")
                                       << "said 'Error: source file could not be loaded'";
        QTest::newRow("absent") << QByteArray() << "the office program (soffice) was not found";
    }
    void conversionFailuresAreReported() {
        QFETCH(QByteArray, office);
        QFETCH(QString, said);
        QTemporaryDir dir;
        const QString pidFile = dir.filePath("office.pid");
        qputenv("PIDFILE", pidFile.toLocal8Bit());
        const QString document = dir.filePath("letter.rtf");
        WriteBytes(document, TwoPageLetter());
        const QString program = office.isEmpty() ? "" : FakeOffice(dir.filePath("bin"), office);
        const DocumentCache cache(dir.filePath("cache"));
        QElapsedTimer took;
        took.start();
        const Conversion conversion = cache.Convert(document, program, 1000);
        QVERIFY(took.elapsed() < 10000);
        QVERIFY(!conversion.ok);
        QVERIFY2(conversion.error.startsWith("The document '" + document +
                                             "' could not be made "
                                             "ready for showing: "),
                 qPrintable(conversion.error));
        QVERIFY2(conversion.error.contains(said), qPrintable(conversion.error));
        QVERIFY(cache.PdfFor(document).isEmpty());
        // The office program stopped for its time, with what it started.
        QVERIFY(!ProcessAlive(pidFile));
    }

    // A document that could not be converted is named at load and passed over in the run.
    void aDocumentNotMadeReadyIsPassedOver() {
        MediaRun run;
        WriteBytes(In(run, "letter.rtf"), TwoPageLetter());
        QVERIFY(MakePicture(In(run, "after.png"), 32, 32).isEmpty());
        run.preferences.WordFolder = In(run, "office");
        FakeOffice(run.preferences.WordFolder, "exit 0\n");
        run.Start(kHeader, Row(1, "Word Document", "doc", "letter.rtf") +
                               Row(2, "image file", "after", "after.png"));
        QVERIFY(run.boxes.size() >= 2);
        QVERIFY2(run.boxes.first().text.startsWith("The document '" + In(run, "letter.rtf") +
                                                   "' could not be made ready for showing"),
                 qPrintable(run.boxes.first().text));
        QCOMPARE(run.boxes.last().text,
                 QString("The document 'letter.rtf' was not made ready for showing when the "
                         "experiment was loaded.  This item will be skipped."));
        QCOMPARE(run.Form()->objectName(), "fImage");
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "");
    }

    // The run waits for the show's program; its end stores "ok" and the show's length.
    void aSlideShowIsWaitedFor() {
        MediaRun run;
        const QString arguments = In(run, "arguments.txt");
        ShowWith(run, "printf '%s\\n' \"$@\" > '" + arguments.toLocal8Bit() + "'\nsleep 1\n");
        run.Start(kHeader, Row(1, "powerpoint show", "show", "SHOW.odp") +
                               Row(2, "image file", "after", "after.png"));
        QCOMPARE(run.Form()->objectName(), "fSlideShow");
        run.Wait(1500); // the run's clock while the show lasts
        QCOMPARE(run.Form()->objectName(), "fSlideShow");
        QTRY_COMPARE_WITH_TIMEOUT(run.state.CurrentQuestion, qint16(2), 10000);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "ok");
        QCOMPARE(run.state.Responses().Time(1, 1, 1), 1500);
        const QStringList given = QString::fromUtf8(ReadAll(arguments)).split('\n');
        QVERIFY2(given.contains("--show"), qPrintable(given.join(' ')));
        QVERIFY(given.contains(In(run, "show.odp")));
        QVERIFY(given.first().startsWith("-env:UserInstallation=file://"));
    }

    // Without the office program the show is announced as not found; nothing is stored and
    // the item's jump isn't taken.
    void aSlideShowWithoutTheProgram() {
        MediaRun run;
        ShowWith(run, {});
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", In(run, "nothing").toLocal8Bit());
        run.Start(kHeader, Row(1, "powerpoint show", "show", "show.odp", "", "last") +
                               Row(2, "image file", "after", "after.png") +
                               Row(3, "image file", "last", "after.png"));
        qputenv("PATH", path);
        QVERIFY(!run.boxes.isEmpty());
        QVERIFY(run.boxes.last().text.startsWith(
            "A PowerPoint presentation was requested, but PowerPoint was not found."));
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "");
    }

    // A show that never ends: the operator's keys go on, and the show's program goes with them.
    void theOperatorKeysEndAShowThatNeverEnds() {
        MediaRun run;
        const QString pidFile = In(run, "show.pid");
        ShowWith(run, "echo $$ > '" + pidFile.toLocal8Bit() + "'\nsleep 600 & wait\n");
        run.Start(kHeader, Row(1, "powerpoint show", "show", "show.odp") +
                               Row(2, "image file", "after", "after.png"));
        QTRY_VERIFY_WITH_TIMEOUT(ProcessAlive(pidFile), 10000);
        QTest::keyClick(run.Form(), Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(run.state.CurrentQuestion, qint16(2));
        QTRY_VERIFY_WITH_TIMEOUT(!ProcessAlive(pidFile), 5000);
        QCOMPARE(run.state.Responses().Value(1, 1, 1), "");
    }

    // The launcher's probe before a run sees a running office program by its process name; a
    // headless one (a conversion, the responses workbook) shows no slides and doesn't count.
    void theLaunchersProbeSeesAnOfficeProgramThatCanShow_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("counts");
        // A shell under the office's name that stays; its last argument is its own $0.
        const QStringList stay{"-c", "sleep 30; :"};
        QTest::newRow("a window of its own") << stay << true;
        QTest::newRow("headless") << stay + QStringList{"--headless"} << false;
    }
    void theLaunchersProbeSeesAnOfficeProgramThatCanShow() {
        QFETCH(QStringList, arguments);
        QFETCH(bool, counts);
        // A name of its own, so that office programs of other tests can't answer for it.
        QTemporaryDir dir;
        const QString named = dir.filePath("cvprobe-office");
        QVERIFY(QFile::copy(QStandardPaths::findExecutable("sh"), named));
        QProcess office;
        office.start(named, arguments);
        QVERIFY(office.waitForStarted());
        auto stop = qScopeGuard([&] {
            office.kill();
            office.waitForFinished();
        });
        QTRY_COMPARE_WITH_TIMEOUT(ProcessRunning({"cvprobe-office"}), counts, 5000);
        QCOMPARE(office.state(), QProcess::Running);
    }
};

QTEST_MAIN(TestMediaForms)
#include "test_media_forms.moc"
