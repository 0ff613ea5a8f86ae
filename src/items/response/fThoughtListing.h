// The thought listing and recall list items: one thought or recalled word after another, each
// ended by Enter, typed into one numbered box until the list's size is reached or its time is
// up. Each entry is a variable of its own, timed from the end of the entry before, and is kept
// in the run for a thought rating later on.
#pragma once

#include "engine/item_frame.h"

#include <memory>

namespace corvane {

class LimitedTextBox;
class RunTimer;

class fThoughtListing : public ItemForm {
    Q_OBJECT
public:
    explicit fThoughtListing(RunContext& run);
    ~fThoughtListing() override;
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    void Unloading() override;

private:
    /// Enter: the entry in the box is stored and the next one begins, or the list ends.
    void EndEntry(qint32 itemEnd);
    void StoreEntry(const QString& text);
    void Timer1_Timer();

    QLabel* Label1 = nullptr;
    QLabel* Label2 = nullptr;
    LimitedTextBox* TextThoughtBox = nullptr;
    std::unique_ptr<RunTimer> m_timer1;
    bool m_firstKeyPending = true;
    qint32 m_firstKeyTime = 0;
    qint16 m_size = 0;
};

} // namespace corvane
