#include "items/media/fSlideShow.h"

#include "items/media/document_cache.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QDir>
#include <QProcess>
#include <QUrl>
#include <csignal>
#include <unistd.h>

namespace corvane {

fSlideShow::fSlideShow(RunContext& run) : MediaForm(run, QStringLiteral("fSlideShow")) {}

fSlideShow::~fSlideShow() {
    StopMedia();
}

qint64 fSlideShow::ShowProcessId() const {
    return m_show ? m_show->processId() : 0;
}

void fSlideShow::Load() {
    RunState& state = State();
    m_name = InQuestionnaire() ? Item().FileName : Entry().File;
    PrepareForm();
    ApplyFormGeometry();
    // The backdrop of the show: black, with nothing to press.
    Picture1->hide();
    show();
    raise();

    const QString office = FindOfficeProgram(Run().officeFolder);
    const QString path = FoundPath(m_name);
    if (path.isEmpty()) {
        PassOver(QStringLiteral("The file '") + m_name +
                     QStringLiteral("' was requested but not found.  This item will be skipped."),
                 BoxIcon::Information, false);
        return;
    }
    if (office.isEmpty()) {
        NotShown();
        return;
    }
    m_show = new QProcess(this);
    // A group of its own, so that the show's child process goes with it when the run ends it.
    m_show->setChildProcessModifier([] { ::setpgid(0, 0); });
    // A profile of its own: an office program that is open already can't take the show over,
    // so the process started here is the show the run waits for.
    const QString profile = ProgramFolder::FilePath(QStringLiteral("cache/show-profile"));
    m_show->setProgram(office);
    m_show->setArguments(
        {QStringLiteral("-env:UserInstallation=") + QUrl::fromLocalFile(profile).toString(),
         QStringLiteral("--norestore"), QStringLiteral("--nologo"), QStringLiteral("--show"),
         path});
    connect(m_show, &QProcess::finished, this, [this] { ShowEnded(); });
    connect(m_show, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            NotShown();
    });
    m_show->start();
    state.ItemStart = state.Clock().Now();
}

void fSlideShow::ShowEnded() {
    if (!isVisible())
        return; // ended by the run (the operator's keys), not by the show
    EndWithOk(State().Clock().Now());
}

void fSlideShow::NotShown() {
    PassOver(
        QStringLiteral(
            "A PowerPoint presentation was requested, but PowerPoint was not found.  If PowerPoint "
            "is installed, be sure that the .pps file extention is associated with PowerPoint. See "
            "View->Options->File Types in Explorer for more details."),
        BoxIcon::Information, false);
}

void fSlideShow::StopMedia() {
    if (!m_show || m_show->state() == QProcess::NotRunning)
        return;
    m_show->disconnect(this);
    ::kill(-pid_t(m_show->processId()), SIGTERM);
    if (!m_show->waitForFinished(3000)) {
        ::kill(-pid_t(m_show->processId()), SIGKILL);
        m_show->waitForFinished(3000);
    }
}

} // namespace corvane
