// Small media files made by the real tools a test needs: pictures and films by GStreamer, tones
// by SoX, documents and slide shows written as text and converted by the real office program.
#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

namespace corvane::test {

/// Runs a tool to its end; empty when it worked, else what went wrong.
inline QString RunTool(const QString& program, const QStringList& arguments, int ms = 60000,
                       const QString& folder = {}) {
    if (QStandardPaths::findExecutable(program).isEmpty())
        return program + " is not installed";
    QProcess tool;
    if (!folder.isEmpty())
        tool.setWorkingDirectory(folder);
    tool.start(program, arguments);
    if (!tool.waitForFinished(ms)) {
        tool.kill();
        tool.waitForFinished();
        return program + " did not end within " + QString::number(ms / 1000) + " s";
    }
    if (tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0)
        return program + " failed: " + QString::fromLocal8Bit(tool.readAllStandardError());
    return {};
}

/// A film of `frames` frames at 30 a second, `width` by `height`, with no sound.
inline QString MakeMovie(const QString& path, int frames = 30, int width = 160, int height = 120) {
    return RunTool("gst-launch-1.0",
                   {"-q", "videotestsrc", QString("num-buffers=%1").arg(frames), "!",
                    QString("video/x-raw,width=%1,height=%2,framerate=30/1").arg(width).arg(height),
                    "!", "jpegenc", "!", "avimux", "!", "filesink", "location=" + path});
}

/// A picture of the test pattern, `width` by `height`, in the format its ending names.
inline QString MakePicture(const QString& path, int width, int height) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    const QString encoder = suffix == "png" ? "pngenc" : "jpegenc";
    return RunTool("gst-launch-1.0",
                   {"-q", "videotestsrc", "num-buffers=1", "pattern=smpte", "!",
                    QString("video/x-raw,width=%1,height=%2").arg(width).arg(height), "!",
                    "videoconvert", "!", encoder, "!", "filesink", "location=" + path});
}

/// A tone of `seconds` seconds.
inline QString MakeTone(const QString& path, double seconds) {
    return RunTool("sox", {"-n", "-r", "22050", "-c", "1", path, "synth", QString::number(seconds),
                           "sine", "440"});
}

/// A letter of two pages, as rich text.
inline QByteArray TwoPageLetter() {
    return "{\\rtf1\\ansi{\\fonttbl{\\f0 Times;}}\\f0\\fs48 Dear participant, this is page "
           "one.\\page This is page two.\\par}";
}

/// Two slides as the office program's flat presentation text; `MakeSlideShow` converts it.
inline QByteArray TwoSlides() {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:draw="urn:oasis:names:tc:opendocument:xmlns:drawing:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0"
 xmlns:svg="urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0"
 office:version="1.2" office:mimetype="application/vnd.oasis.opendocument.presentation">
 <office:body><office:presentation>
  <draw:page draw:name="one"><draw:frame svg:x="2cm" svg:y="2cm" svg:width="20cm"
   svg:height="3cm"><draw:text-box><text:p>First slide</text:p></draw:text-box></draw:frame>
  </draw:page>
  <draw:page draw:name="two"><draw:frame svg:x="2cm" svg:y="2cm" svg:width="20cm"
   svg:height="3cm"><draw:text-box><text:p>Second slide</text:p></draw:text-box></draw:frame>
  </draw:page>
 </office:presentation></office:body>
</office:document>
)";
}

/// Makes `folder`/`name` (ending .odp) of two slides with the real office program, in a
/// profile of its own under `folder`.
inline QString MakeSlideShow(const QString& folder, const QString& name) {
    const QDir dir(folder);
    const QString flat = dir.filePath(QFileInfo(name).completeBaseName() + ".fodp");
    QFile file(flat);
    if (!file.open(QIODevice::WriteOnly) || file.write(TwoSlides()) < 0)
        return "can not write " + flat;
    file.close();
    const QString profile = "-env:UserInstallation=file://" + dir.filePath("make-profile");
    const QString why = RunTool(
        "soffice",
        {profile, "--headless", "--norestore", "--convert-to", "odp", "--outdir", folder, flat},
        180000);
    if (!why.isEmpty())
        return why;
    return QFile::exists(dir.filePath(name)) ? QString() : "soffice made no " + name;
}

} // namespace corvane::test
