#include "state/run_state.h"

#include "state/checked_int.h"

namespace corvane {

RunState::RunState()
    : m_clock(std::make_unique<SteadyRunClock>()),
      m_random(std::make_unique<StandardRandomSource>()),
      m_boxes(std::make_unique<ConsoleMessageBoxes>()) {
    ClearInserts();
    ResetRun();
}

RunState::~RunState() = default;

void RunState::SetClock(std::unique_ptr<RunClock> clock) {
    m_clock = std::move(clock);
}
void RunState::SetRandom(std::unique_ptr<RandomSource> random) {
    m_random = std::move(random);
}
void RunState::SetBoxes(std::unique_ptr<MessageBoxes> boxes) {
    m_boxes = std::move(boxes);
}

void RunState::StoreResponse(int q, int i, int k, const QString& value) {
    m_responses.SetValue(q, i, k, value);
    if (ResponseStored)
        ResponseStored(StoredResponse{q, i, k, value, std::nullopt});
}

void RunState::StoreResponseTime(int q, int i, int k, qint32 ms) {
    m_responses.SetTime(q, i, k, ms);
    if (ResponseStored)
        ResponseStored(StoredResponse{q, i, k, std::nullopt, ms});
}

void RunState::AllocateResponses(const TableBounds& bounds) {
    m_responses.Allocate(bounds);
}

std::vector<Question> RunState::EmptyQuestions(qsizetype count) {
    std::vector<Question> questions(std::size_t(count + 1));
    questions[0].BGR = -1;
    return questions;
}

std::vector<FileEntry> RunState::EmptyFiles(qsizetype count) {
    std::vector<FileEntry> files(std::size_t(count + 1));
    files[0].BGR = QStringLiteral("-1");
    return files;
}

void RunState::ClearInserts() {
    InsertNames = QStringList{QString()};
    InsertValues = QStringList{QString()};
}

void RunState::AddInsert(const QString& name, const QString& value) {
    InsertNames << name.toLower();
    InsertValues << value;
}

QString RunState::MessageTitle() const {
    return Messages[11].isEmpty() ? DefaultBoxTitle() : Messages[11];
}

qint16 RunState::OpenThoughtList(const QString& name, qint16 size) {
    Increment(ThoughtListsShown);
    ShownListNames.resize(ThoughtListsShown + 1);
    ShownListNames[ThoughtListsShown] = name;
    ShownListSizes.resize(std::size_t(ThoughtListsShown) + 1);
    ShownListSizes[std::size_t(ThoughtListsShown)] = size;
    ShownListCounts.resize(std::size_t(ThoughtListsShown) + 1);
    ShownListCounts[std::size_t(ThoughtListsShown)] = 0;
    return ThoughtListsShown;
}

void RunState::AddThought(int list, int k, const QString& text) {
    if (list < 1 || list > ThoughtListsShown)
        return;
    Increment(ShownListCounts[std::size_t(list)]);
    ThoughtTexts.insert(ThoughtKey(list, k), text);
}

QString RunState::ThoughtText(int list, int k) const {
    return ThoughtTexts.value(ThoughtKey(list, k));
}

void RunState::ResetRun() {
    NumFiles = 0;
    NumQuestionnaires = 0;
    CurrentQuestionnaire = 0;
    FileStep = 0;
    CurrentFile = 0;
    QuestionStep = 0;
    ResponseSlot = 0;
    CurrentQuestion = 0;
    NumQuestions = 0;
    MaxItems = 0;
    MaxResponses = 0;
    ThoughtListCount = 0;
    BackDepth = 0;
    FileKind.clear();
    SkipTarget.clear();

    QuestionnaireNames = QStringList{QString()};
    ThoughtListNames = QStringList{QString()};
    ThoughtListSizes.assign(1, 0);
    ThoughtTexts.clear();
    ThoughtListsShown = 0;
    ShownListNames = QStringList{QString()};
    ShownListSizes.assign(1, 0);
    ShownListCounts.assign(1, 0);
    CurrentThoughtList = 0;
    OnLineUp = False;
    OnLineEndStep = 0;
    JoystickAbsenceTold = false;
    Questions = EmptyQuestions(0);
    Files = EmptyFiles(0);
    BackStack.clear();
    Variables.Clear();
    m_responses.Clear();

    Parameters.count = 0;
    QuestionnaireFile = QStringLiteral("0");
}

} // namespace corvane
