// A session of the sibling reaction-time program: a list entry ending in "csv" or an item of
// type "tachyra". Its launcher is started with the participant, the condition and the file, and
// reports back through the "Running" setting of "executeTCH", read every two seconds. The run's
// backdrop, with its Continue button, is what shows meanwhile; this form itself never shows.
#pragma once

#include "engine/item_frame.h"

#include <memory>

namespace corvane {

class RunTimer;

/// The launcher's command line after its path: "/" + subject + "," + condition + "," + file
/// (with the experiment's folder before a relative one) + the tail.
QString TachyraArgument(const QString& subject, const QString& condition, const QString& folder,
                        const QString& file, const QString& tail);

class TachyraSession : public ItemForm {
    Q_OBJECT
public:
    explicit TachyraSession(RunContext& run);
    void Load() override;

protected:
    void ToolClick(const QString&) override {}
    bool ItemKey(QKeyEvent*, qint32) override { return false; }

private:
    void TachyraTimer_Timer();
    QString NamedIn() const;

    std::unique_ptr<RunTimer> m_tachyraTimer;
};

} // namespace corvane
