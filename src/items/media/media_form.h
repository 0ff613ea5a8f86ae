// What the presenters of a file share (an image, a sound, a movie, a document, a slide show): the
// file in hand, from the list entry or from the item, found whatever the letter case of its name;
// the common ending with "ok"; the passing over of a file that can't be shown; the item's limit.
#pragma once

#include "engine/item_frame.h"
#include "state/message_boxes.h"

#include <memory>

namespace corvane {

class RunTimer;

class MediaForm : public ItemForm {
    Q_OBJECT
public:
    MediaForm(RunContext& run, const QString& formName);
    ~MediaForm() override;

protected:
    /// True when the form presents an item of a questionnaire, false for a list entry.
    bool InQuestionnaire() const;
    /// The list entry in hand (outside a questionnaire).
    const FileEntry& Entry() const;
    /// The path of a file the definition names, found whatever the letter case of its name;
    /// empty when there is none.
    static QString FoundPath(const QString& name);

    /// The common ending: `ItemEnd`, the form goes, "ok" and the reaction time are stored for an
    /// item, and the walk goes on.
    void EndWithOk(qint32 itemEnd);
    /// Says why the file can't be shown and goes on without storing anything: an item takes its
    /// jump (unless `takeSkip` is false), a list entry gives way to the next.
    void PassOver(const QString& message, BoxIcon icon = BoxIcon::Information,
                  bool takeSkip = true);
    /// Ends the item by `end` on the first tick of a one-second timer past `duration` ms.
    void StartLimit(qint32 duration, std::function<void()> end);

    /// The bar: the back ending for "GoBack", `Continue` for "Continue".
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    virtual void Continue(qint32 itemEnd) { EndWithOk(itemEnd); }
    /// Stops what plays: the form is leaving the screen.
    virtual void StopMedia() {}
    void hideEvent(QHideEvent* event) override;

private:
    std::unique_ptr<RunTimer> m_timer1;
    bool m_ended = false;
};

} // namespace corvane
