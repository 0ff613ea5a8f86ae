// A run in this process: an experiment made from CSV text in a temporary folder, loaded through
// the subject form and walked with a virtual clock, with the boxes recorded.
#pragma once

#include "definition_fixtures.h"
#include "engine/fCodes.h"
#include "engine/presenter_registry.h"
#include "engine/run_session.h"
#include "preferences/preferences.h"
#include "recording_boxes.h"
#include "state/program_folder.h"
#include "state/run_state.h"

#include <QApplication>
#include <QLineEdit>
#include <QTest>

namespace corvane::test {

/// Adds QtTest rows of text columns: the row's name, then one text for each column.
template <std::size_t N> void AddTextRows(std::initializer_list<std::array<const char*, N>> rows) {
    for (const auto& row : rows) {
        QTestData& data = QTest::newRow(row[0]);
        for (std::size_t n = 1; n < N; ++n)
            data << QString::fromUtf8(row[n]);
    }
}

class RunFixture {
public:
    RunFixture() {
        ProgramFolder::SetPath(m_dir.filePath("program"));
        QDir().mkpath(m_dir.filePath("program/styles"));
        QFile messages(m_dir.filePath("program/styles/messages.txt"));
        if (messages.open(QIODevice::WriteOnly))
            messages.write(
                "102,Time is up.,\r\n111,Note,\r\n115,Limit,\r\n123,Not to itself.,\r\n\r\n");
        state.SetBoxes(std::make_unique<RecordingBoxes>(&boxes));
        state.SetClock(std::make_unique<VirtualRunClock>());
        state.SetRandom(std::make_unique<StandardRandomSource>(1));
    }

    QString Folder() const { return m_dir.path(); }
    VirtualRunClock& Clock() { return static_cast<VirtualRunClock&>(state.Clock()); }

    /// Makes q.que from item rows (with this header) and a one-row experiment, and starts it.
    void Start(const QString& header, const QString& rows, const QString& entryParameters = {}) {
        MakeDefinition(Folder(), "q.que", header + rows);
        Open("Condition,position,file,Parameters\na,1,q.que," + entryParameters + "\n");
    }

    /// Makes e.exp from its rows (with the header) and starts it for condition a.
    void Open(const QString& experiment) {
        MakeDefinition(Folder(), "e.exp", experiment);
        QDir::setCurrent(Folder());
        state.ExperimentFolder = Folder();
        state.ExperimentFile = QDir(Folder()).filePath("e.exp");
        state.ExperimentFileName = "e.exp";
        session = std::make_unique<RunSession>(state, preferences);
        session->SetCharsetOverride(charsetOverride);
        if (presenters)
            session->SetPresenters(*presenters);
        fCodes* codes = session->OpenSubjectEntry();
        codes->TextSubject()->setText("s1");
        codes->TextCondition()->setText("a");
        codes->bOK_Click();
        QApplication::processEvents();
    }

    /// Lets time pass on the run clock, with its timers.
    void Wait(int ms) {
        Clock().Advance(ms);
        QApplication::processEvents();
    }

    QWidget* Form() const { return session ? session->CurrentForm() : nullptr; }
    /// Presses a key, or types text, where the current form has its focus.
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(Focus(), key, modifiers);
    }
    void Type(const QString& text) { QTest::keyClicks(Focus(), text); }
    QWidget* Focus() const { return Form()->focusWidget() ? Form()->focusWidget() : Form(); }
    template <typename T = QWidget> T* Control(const QString& name) const {
        return Form() ? Form()->findChild<T*>(name) : nullptr;
    }

    RunState state;
    Preferences preferences;
    /// The launcher's character set, -1 for none.
    int charsetOverride = -1;
    /// Forms other than the program's, when set before the start.
    const PresenterRegistry* presenters = nullptr;
    QList<MessageBox> boxes;
    std::unique_ptr<RunSession> session;

private:
    QTemporaryDir m_dir;
};

} // namespace corvane::test

namespace corvane::test {
/// Item columns with three labels, their points and their skips.
inline const QString kThreeLabelHeader =
    "questionnumber,QuestionType,QuestionWording,VariableName,Parameters,WriteData,WriteRT,"
    "textlabel1,textlabel2,textlabel3,pointlabel1,pointlabel2,pointlabel3,skip1,skip2,skip3\n";

/// A visible top-level window by its name, or null.
inline QWidget* VisibleWindow(const QString& name) {
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows)
        if (window->objectName() == name && window->isVisible())
            return window;
    return nullptr;
}
} // namespace corvane::test
