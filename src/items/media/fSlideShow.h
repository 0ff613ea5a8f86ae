// A slide show, from the list or as an item: the office program shows it as a program of its
// own, on the whole screen, and the run waits until that program ends, then takes the screen
// back. It stores "ok" and the length of the show.
#pragma once

#include "items/media/media_form.h"

class QProcess;

namespace corvane {

class fSlideShow : public MediaForm {
    Q_OBJECT
public:
    explicit fSlideShow(RunContext& run);
    ~fSlideShow() override;
    void Load() override;

    /// The process of the show while it runs; 0 otherwise.
    qint64 ShowProcessId() const;

protected:
    void StopMedia() override;

private:
    void ShowEnded();
    void NotShown();

    QProcess* m_show = nullptr;
    QString m_name;
};

} // namespace corvane
