// An outside program: a list entry ending in "exe" (on Linux also a program file, a script or a
// desktop entry that the list names), an item of type "executable", or an Inquisit session. The
// form covers the screen while the program runs; the participant comes back with Continue, no
// sooner than five seconds after the start, or the time limit ends the item. "ok" and the time
// are stored.
#pragma once

#include "engine/item_frame.h"

#include <memory>

namespace corvane {

class RunTimer;

class fExecutable : public ItemForm {
    Q_OBJECT
public:
    explicit fExecutable(RunContext& run);
    void Load() override;

    QLabel* Label1 = nullptr;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;

private:
    void TakeHandOver();
    void StartProgram();
    /// Starts `file` with the command text; false, with the operator told, when it didn't start.
    bool Start(const QString& file, const QString& command);
    void InquisitTimer_Timer();
    void EndRoutine();
    void PassOverRefused();
    QString NamedIn() const;

    QString m_execFile;
    QString m_execCommand;
    qint32 m_execDuration = 0;
    bool m_isInquisit = false;
    bool m_inquisitStarted = false;
    bool m_passedOver = false;
    std::unique_ptr<RunTimer> m_timer1;
    std::unique_ptr<RunTimer> m_inquisitTimer;
};

} // namespace corvane
