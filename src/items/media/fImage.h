// An image file, from the list or as an item: placed and sized by its parameters, with a
// Continue button or a time limit; it stores "ok" and the time the participant took.
#pragma once

#include "definitions/experiment_loader.h"
#include "items/media/media_form.h"

namespace corvane {

struct StatusPanel;

class fImage : public MediaForm {
    Q_OBJECT
public:
    explicit fImage(RunContext& run);
    void Load() override;

    /// The place of an image in the picture box of `box` pixels, as its parameters say: `left`
    /// and `top` 1 both mean the upper left corner; otherwise a place in pixels, and an image
    /// with no place of its own (0 or less) goes to the corner when it is sized, else to the
    /// centre of the box.
    static QPoint Place(int left, int top, bool sized, const QSize& image, const QSize& box,
                        const QSize& screen);

    /// Decodes, when the experiment is loaded, the pictures it names, so that showing one costs
    /// no decoding; up to a bound of memory, beyond which pictures are decoded when shown.
    static void PrepareImages(RunContext& run, const ExperimentNeeds& needs,
                              const StatusPanel& panel);

private:
    QLabel* Image2 = nullptr;
};

} // namespace corvane
