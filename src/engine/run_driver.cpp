#include "engine/run_driver.h"

#include "definitions/number_reading.h"
#include "definitions/questionnaire_reader.h"
#include "engine/messages.h"
#include "engine/subject_info.h"
#include "output/responses_workbook.h"
#include "state/checked_int.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/program_folder.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QFileInfo>
#include <QTime>

namespace corvane {

namespace {

QString TimeOfDay() {
    return QTime::currentTime().toString(QStringLiteral("hh:mm:ss"));
}

int Number(const QString& text) {
    return int(ReadNumber(text));
}

const QString kNotFoundTail =
    QStringLiteral("' was requested but not found.  This item will be skipped.");

QString DocumentMissingText() {
    return QStringLiteral(
        "A Word document has been requested, but Word can not be found. If you have "
        "Word on this machine, make sure the path is entered correctly under "
        "'Preferences->Edit Current Preferences->Files' from the main menu.");
}

bool IsNone(const QString& skip) {
    return skip.isEmpty() || skip == QLatin1String("none");
}

// Item types whose file must be there before the item is shown.
bool NeedsItemFile(const QString& type) {
    static const QStringList types{
        QStringLiteral("sound file"),      QStringLiteral("image file"),
        QStringLiteral("movie"),           QStringLiteral("word document"),
        QStringLiteral("wordperfect doc"), QStringLiteral("powerpoint show")};
    return types.contains(type);
}

} // namespace

bool IsProgramFile(const QString& name) {
    // On Linux a program has no ending of its own: a file with the run bit, a script or a
    // desktop entry that the list names is one.
    const QString lower = name.toLower();
    if (lower.endsWith(QLatin1String(".desktop")) || lower.endsWith(QLatin1String(".sh")))
        return true;
    const auto found = FindFile(name);
    return found && QFileInfo(*found).isFile() && QFileInfo(*found).isExecutable();
}

FileKindClass ClassifyFileKind(const QString& kind) {
    static const QList<std::pair<QStringList, FileKindClass>> table{
        // Beside the old endings, those of today's files (.png, .jpeg, .docx, .pptx, .mp4 ...).
        {{QStringLiteral("bmp"), QStringLiteral("jpg"), QStringLiteral("gif"),
          QStringLiteral("png"), QStringLiteral("peg")},
         FileKindClass::Image},
        {{QStringLiteral("htm"), QStringLiteral("tml")}, FileKindClass::WebPage},
        {{QStringLiteral("wav"), QStringLiteral("mp3"), QStringLiteral("ogg")},
         FileKindClass::Sound},
        {{QStringLiteral("exe")}, FileKindClass::Program},
        {{QStringLiteral("pps"), QStringLiteral("psx"), QStringLiteral("ppt"),
          QStringLiteral("ptx"), QStringLiteral("odp")},
         FileKindClass::SlideShow},
        {{QStringLiteral("doc"), QStringLiteral("wpd"), QStringLiteral("ocx"),
          QStringLiteral("odt"), QStringLiteral("rtf")},
         FileKindClass::Document},
        {{QStringLiteral("avi"), QStringLiteral("mov"), QStringLiteral("mpg"),
          QStringLiteral("ppv"), QStringLiteral("mpa"), QStringLiteral("mp4"),
          QStringLiteral("ebm"), QStringLiteral("mkv"), QStringLiteral("ogv")},
         FileKindClass::Movie},
        {{QStringLiteral("csv")}, FileKindClass::TachyraSession},
        {{QStringLiteral("que")}, FileKindClass::Questionnaire},
    };
    for (const auto& [kinds, cls] : table) {
        if (kinds.contains(kind))
            return cls;
    }
    return FileKindClass::Unknown;
}

bool IsKnownItemType(const QString& type) {
    static const QStringList types{QStringLiteral("sound file"),
                                   QStringLiteral("image file"),
                                   QStringLiteral("html"),
                                   QStringLiteral("webtracker"),
                                   QStringLiteral("tachyra"),
                                   QStringLiteral("essay"),
                                   QStringLiteral("executable"),
                                   QStringLiteral("powerpoint show"),
                                   QStringLiteral("fill-in-the-blank"),
                                   QStringLiteral("inquisit session"),
                                   QStringLiteral("instructions"),
                                   QStringLiteral("movie"),
                                   QStringLiteral("multiple response"),
                                   QStringLiteral("ranking"),
                                   QStringLiteral("scale response"),
                                   QStringLiteral("thought listing"),
                                   QStringLiteral("recall list"),
                                   QStringLiteral("thought rating"),
                                   QStringLiteral("word document"),
                                   QStringLiteral("wordperfect doc"),
                                   QStringLiteral("on-line rating"),
                                   QStringLiteral("voice response")};
    return types.contains(type);
}

RunDriver::RunDriver(RunState& state, RunHost& host) : m_state(state), m_host(host) {}

void RunDriver::Inform(const QString& title, const QString& text, int icon) {
    m_state.Boxes().Show(MessageBox{title, text, BoxIcon(icon)});
}

// A kind that no presenter takes is told as the definition's own slip, and passed over.
void RunDriver::TellUnknownFileType(const QString& name) {
    Inform(m_state.MessageTitle(),
           QStringLiteral("Current file type is defined in the experiment as '") + name +
               QStringLiteral(".'  This file is not recognized as a valid file type.  To fix "
                              "this, edit the current experiment file and be sure that all files "
                              "have valid three-letter extensions.  See help for details."),
           int(BoxIcon::Information));
}

void RunDriver::TellUnknownItemType(const QString& type) {
    Inform(m_state.MessageTitle(),
           QStringLiteral("Current item type is defined in the questionnaire as '") + type +
               QStringLiteral(".'  This is not currently a valid item type.  To fix this, edit "
                              "the current questionnaire file and be sure that all items are "
                              "selected from the available pull down menu."),
           int(BoxIcon::Information));
}

void RunDriver::ReportFault(const CorvaneError& error) {
    m_state.Boxes().Show(MessageBox{
        DefaultBoxTitle(), QString::number(error.number()) + error.description(), BoxIcon::None});
}

void RunDriver::StartExperiment() {
    m_ended = false;
    m_host.LoadPreferences(QString());
    if (m_state.LockSystemKeys)
        m_host.SetSystemKeysLocked(true);
    m_state.Random().Seed();
    WriteCurrentSubjectInfo(ProgramFolder::Path(), m_state.SubjectID, m_state.ConditionID);
    m_workbook = IsTrue(m_state.ResponsesWorkbookOn) ? m_host.LoadResponsesWorkbook() : nullptr;
    m_host.ShowRunScreen();
    m_state.ClearInserts();
    LoadMessages(m_state, ProgramFolder::Path());
    m_state.RunStart = m_state.Clock().Now();
    m_state.LastStamp = m_state.RunStart;
    m_questionnaireTimer = m_state.Clock().Every(1000, [this] { QuestionnaireTimerTick(); });
    NextFile();
}

void RunDriver::QuestionnaireTimerTick() {
    m_host.LowerBackdrop();
    if (m_ended || m_limitShowing || m_state.CurrentFile < 1 || m_state.CurrentQuestion < 1)
        return;
    const qint32 duration = m_state.Files[std::size_t(m_state.CurrentFile)].Duration;
    if (duration == 0 || Elapsed(QuestionnaireStart, m_state.Clock().Now()) <= qAbs(duration))
        return;
    // The box holds the run; ticks that come meanwhile must not show it again.
    m_limitShowing = true;
    Inform(DefaultBoxTitle(), m_state.Messages[7], int(BoxIcon::Information));
    m_limitShowing = false;
    m_state.QuestionStep = m_state.NumQuestions;
    if (duration < 0 && IsTrue(m_state.TimerFormUp)) {
        m_host.UnloadTimerForm();
        m_state.TimerFormUp = False;
    }
    m_host.UnloadCurrentForm();
    NextQuestion();
}

void RunDriver::EndItem(const QString& response, const QString& skip) {
    if (m_state.CurrentQuestion < 1) {
        NextFile();
        return;
    }
    try {
        const int q = m_state.CurrentQuestionnaire;
        const int i = m_state.CurrentQuestion;
        const int k = m_state.ResponseSlot;
        m_state.StoreResponse(q, i, k, response);
        m_state.StoreResponseTime(q, i, k, Elapsed(m_state.ItemStart, m_state.ItemEnd));
    } catch (const CorvaneError& error) {
        ReportFault(error);
    }
    m_state.SkipTarget = skip;
    NextQuestion();
}

void RunDriver::GoBack() {
    m_state.GoingBack = True;
    m_state.SkipTarget = QStringLiteral("none");
    NextQuestion();
}

void RunDriver::NextFile() {
    try {
        // A passed-over entry goes straight on to the next: a loop rather than a call to itself.
        while (StepFile()) {
        }
    } catch (const CorvaneError& error) {
        ReportFault(error);
    }
}

// One step of the list. True when the walk goes straight on to the next entry.
bool RunDriver::StepFile() {
    if (IsTrue(m_state.TimerFormUp))
        m_host.UnloadTimerForm();
    QString folder = m_state.ExperimentFolder;
    ChangeToFolder(folder);
    Increment(m_state.FileStep);
    if (m_state.FileStep > m_state.NumFiles) {
        EndOfRun();
        return false;
    }
    const FileEntry& atStep = m_state.Files[std::size_t(m_state.FileStep)];
    m_state.CurrentFile =
        ToInt16(Number(m_state.Files[std::size_t(Number(atStep.BGRPosition))].WGRPosition));
    const FileEntry& entry = m_state.Files[std::size_t(m_state.CurrentFile)];
    const QString& name = entry.File;
    m_state.FileKind = LastChars(name, 3).toLower();
    FileKindClass kind = ClassifyFileKind(m_state.FileKind);
    if (kind == FileKindClass::Unknown && IsProgramFile(name))
        kind = FileKindClass::Program;

    const bool mayBeElsewhere = m_state.FileKind == QLatin1String("exe") ||
                                m_state.FileKind == QLatin1String("htm") ||
                                m_state.FileKind == QLatin1String("tml");
    if (FileExists(name) == 0 && !mayBeElsewhere) {
        Inform(QStringLiteral("File not found"),
               QStringLiteral("The file '") + name + kNotFoundTail, int(BoxIcon::Information));
        return true;
    }
    m_order.StartFile(m_state.SubjectID, m_state.ConditionID, TimeOfDay(), name,
                      kind == FileKindClass::Questionnaire);

    switch (kind) {
    case FileKindClass::Questionnaire:
        PresentQuestionnaire(entry, name);
        return false;
    case FileKindClass::Document:
        if (!IsTrue(m_state.WordFound)) {
            Inform(m_state.MessageTitle(), DocumentMissingText(), int(BoxIcon::Warning));
            return true;
        }
        break;
    case FileKindClass::Unknown:
        TellUnknownFileType(name);
        return true;
    default:
        break;
    }
    if (!m_host.PresentFile(kind, entry)) {
        TellUnknownFileType(name);
        return true;
    }
    return false;
}

void RunDriver::PresentQuestionnaire(const FileEntry& entry, const QString& name) {
    m_state.QuestionnaireFile = name;
    QuestionnaireStart = m_state.Clock().Now();
    if (entry.Duration < 0)
        m_host.ShowTimerForm();
    m_host.PlayBackgroundSound(entry.backsound);
    // A questionnaire that can't be read has said why; the run then waits for the operator.
    if (!ReadQuestionnaire(m_state))
        return;
    m_state.QuestionStep = 0;
    m_state.ResponseSlot = 0;
    NextQuestion();
}

void RunDriver::NextQuestion() {
    try {
        while (StepQuestion()) {
        }
        if (m_state.CurrentQuestion > 0)
            m_state.Questions[std::size_t(m_state.CurrentQuestion)].Answered = True;
    } catch (const CorvaneError& error) {
        ReportFault(error);
    }
}

// One step of the items. True when the walk goes straight on to the next item.
bool RunDriver::StepQuestion() {
    QString folder = m_state.ExperimentFolder;
    ChangeToFolder(folder);
    Increment(m_state.QuestionStep);
    if (IsTrue(m_state.ResponsesWorkbookOn) && m_workbook &&
        std::size_t(m_state.CurrentQuestion) < m_state.Questions.size())
        m_workbook->UpdateResponsesXLS(
            m_state, m_state.Questions[std::size_t(m_state.CurrentQuestion)].VariableName,
            LastSkipTarget);
    // The on-line rating stays up through exactly the one step that follows it.
    if (IsTrue(m_state.OnLineUp) && (m_state.QuestionStep == m_state.OnLineEndStep ||
                                     m_state.QuestionStep == m_state.OnLineEndStep - 2)) {
        m_host.UnloadOverlay();
        m_state.OnLineUp = False;
    }
    if (m_state.QuestionStep == 1)
        m_state.SkipTarget = QStringLiteral("none"); // a jump never crosses questionnaires
    m_state.ResponseSlot = 1;
    if (m_state.QuestionStep >= 2 && IsTrue(m_state.GoingBack)) {
        m_state.QuestionStep = m_state.BackStack[std::size_t(m_state.BackDepth - 1)];
        m_state.BackDepth = qint16(m_state.BackDepth - 2);
        m_state.GoingBack = False;
    }
    if (m_state.QuestionStep > m_state.NumQuestions) {
        m_state.QuestionStep = 0;
        m_state.ResponseSlot = 0;
        m_state.CurrentQuestion = 0;
        m_state.BackDepth = 0;
        NextFile();
        return false;
    }
    const Question& atStep = m_state.Questions[std::size_t(m_state.QuestionStep)];
    m_state.CurrentQuestion = m_state.Questions[std::size_t(atStep.BGRPosition)].WGRPosition;
    Question& item = m_state.Questions[std::size_t(m_state.CurrentQuestion)];
    LastSkipTarget = m_state.SkipTarget;

    if (!IsNone(m_state.SkipTarget) && item.VariableName.toLower() != m_state.SkipTarget.toLower())
        return true;
    if (item.omitconditions == 1)
        return true;

    Increment(m_state.BackDepth);
    m_state.BackStack[std::size_t(m_state.BackDepth)] = m_state.QuestionStep;
    m_order.AddItem(item.VariableName);

    auto passOn = [&] {
        if (m_state.CurrentQuestion < 1) {
            NextFile();
            return false;
        }
        m_state.SkipTarget = item.skip;
        return true;
    };

    if (NeedsItemFile(item.QuestionType) && FileExists(item.FileName) == 0) {
        Inform(m_state.MessageTitle(), QStringLiteral("The file '") + item.FileName + kNotFoundTail,
               int(BoxIcon::Information));
        if (m_state.CurrentQuestion >= 1)
            item.Answered = True;
        return passOn();
    }
    if (!IsKnownItemType(item.QuestionType)) {
        TellUnknownItemType(item.QuestionType);
        return passOn();
    }
    const bool document = item.QuestionType == QLatin1String("word document") ||
                          item.QuestionType == QLatin1String("wordperfect doc");
    if (document && !IsTrue(m_state.WordFound)) {
        Inform(m_state.MessageTitle(), DocumentMissingText(), int(BoxIcon::Warning));
        return true;
    }
    if (item.QuestionType == QLatin1String("thought rating") && !CheckRating())
        return true;
    if (!m_host.PresentItem(item)) {
        TellUnknownItemType(item.QuestionType);
        return passOn();
    }
    return false;
}

bool RunDriver::CheckRating() {
    const Question& item = m_state.Questions[std::size_t(m_state.CurrentQuestion)];
    // The item's name is compared as it stands: one in capitals never matches.
    for (int list = 1; list <= m_state.ThoughtListsShown; ++list) {
        if (Normalised(m_state.ShownListNames.at(list)) != item.RatedList)
            continue;
        m_state.CurrentThoughtList = qint16(list);
        return m_state.ShownListCounts[std::size_t(list)] > 0;
    }
    Inform(m_state.MessageTitle(),
           QStringLiteral("In questionnaire ") + m_state.QuestionnaireFile +
               QStringLiteral(", the variable ") + item.RatedList +
               QStringLiteral(" is to be rated by the subject.  This variable was not found to "
                              "exist so far.  This rating item will be skipped."),
           int(BoxIcon::Information));
    return false;
}

void RunDriver::OperatorKeys(bool control, bool alt) {
    if (!control && !alt)
        return;
    if (!control && m_state.CurrentQuestion < 1)
        return;
    m_host.UnloadCurrentForm();
    if (control && alt) {
        m_state.FileStep = ToInt16(qint64(m_state.NumFiles) + 1);
        NextFile();
    } else if (alt) {
        m_state.QuestionStep = ToInt16(qint64(m_state.NumQuestions) + 1);
        NextQuestion();
    } else if (m_state.CurrentQuestion >= 1) {
        NextQuestion();
    } else {
        NextFile();
    }
}

void RunDriver::EndOfRun() {
    if (m_state.NumQuestionnaires > 0) {
        m_state.ExperimentFileName =
            m_state.ExperimentFileName.left(m_state.ExperimentFileName.size() - 4)
                .replace(QLatin1Char(' '), QLatin1Char('_'));
        m_host.WriteDataByQuestionnaire();
        QString dataFolder = m_state.DataRoot + QStringLiteral("/data/byquestionnaire");
        ChangeToFolder(dataFolder);
        if (!m_order.AppendTo(dataFolder))
            Inform(
                m_state.MessageTitle(),
                QStringLiteral("The order of this run could not be added to '") + dataFolder +
                    QStringLiteral("question_order.csv'. Make sure the file is not open in another "
                                   "program and that the folder can be written."),
                int(BoxIcon::Warning));
        m_host.WriteDataByVariable();
        QString folder = m_state.ExperimentFolder;
        ChangeToFolder(folder);
    }
    if (IsTrue(m_state.ResponsesWorkbookOn)) {
        m_workbook = nullptr;
        m_host.UnloadResponsesWorkbook();
        m_state.ResponsesWorkbookOn = False;
    }
    if (!m_state.ExitPassword.isEmpty())
        m_host.ShowPasswordForm();
    m_host.LoadPreferences(QString());
    m_host.SetSystemKeysLocked(false);
    m_questionnaireTimer.reset();
    m_state.ResetRun();
    m_ended = true;
    Inform(QStringLiteral("Participant ") + m_state.SubjectID, m_state.Messages[6],
           int(BoxIcon::Information));
    m_host.ReturnToLauncher();
    if (IsTrue(m_state.RepeatSessions)) {
        const BoxAnswer answer = m_state.Boxes().Show(
            MessageBox{DefaultBoxTitle(), QStringLiteral("Begin next session?"), BoxIcon::Question,
                       BoxButtons::YesNo, BoxAnswer::Yes});
        m_state.NextSessionAccepted = ToFlag(answer == BoxAnswer::Yes);
        if (answer == BoxAnswer::Yes)
            m_host.BeginNextSession();
    }
}

} // namespace corvane
