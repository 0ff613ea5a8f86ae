#include "items/media/fImage.h"

#include "state/run_state.h"

#include <QImageReader>

namespace corvane {

namespace {

// An item's width stays for the images of the list after it, which have none of their own:
// the one value that the old hand-over kept from one image to the next.
int s_imageWidth = 0;

} // namespace

fImage::fImage(RunContext& run) : MediaForm(run, QStringLiteral("fImage")) {
    Image2 = new QLabel(Picture1);
    Image2->setObjectName(QStringLiteral("Image2"));
}

QPoint fImage::Place(int left, int top, bool sized, const QSize& image, const QSize& box,
                     const QSize& screen) {
    if (left == 1 && top == 1)
        return {0, 0};
    QPoint at(left, top);
    if (left > 0 && top > 0)
        return at;
    if (sized)
        return {0, 0}; // one twip from the corner, less than a pixel
    // Centred as the designers did it: the box less the image's share of the screen, halved.
    auto centre = [](double p, double i, double s) { return qRound((p - i / s * p) / 2); };
    return {centre(box.width(), image.width(), screen.width()),
            centre(box.height(), image.height(), screen.height())};
}

void fImage::Load() {
    RunState& state = State();
    QString name;
    int left = 0;
    int top = 0;
    int height = 0;
    qint32 duration = 0;
    if (InQuestionnaire()) {
        const Question& item = Item();
        name = item.FileName;
        left = item.Left;
        top = item.Top;
        height = item.Height;
        s_imageWidth = item.Width;
        duration = item.Duration;
    } else {
        const FileEntry& entry = Entry();
        name = entry.File;
        left = entry.Left;
        top = entry.Top;
        height = entry.Height;
        duration = entry.Duration;
    }
    const int width = s_imageWidth;

    PrepareForm();
    ApplyFormGeometry();
    PrepareBackground();
    PrepareNavigationBar(duration == 0);

    QImageReader reader(FoundPath(name));
    reader.setAutoTransform(true);
    const QImage image = reader.read();
    if (image.isNull()) {
        PassOver(QStringLiteral("The image file '") + name + QStringLiteral("' can not be read (") +
                 reader.errorString() + QStringLiteral(").  This item will be skipped."));
        return;
    }
    QSize size = image.size();
    const bool sized = height > 0 || width > 0;
    if (height > 0)
        size.setHeight(height);
    if (width > 0)
        size.setWidth(width);
    Image2->setScaledContents(sized);
    Image2->setPixmap(QPixmap::fromImage(image));
    Image2->resize(size);
    Image2->move(Place(left, top, sized, image.size(), Picture1->size(), this->size()));
    Image2->show();

    state.ItemStart = ShowAndRead();
    setFocus();
    if (duration > 0)
        StartLimit(duration, [this] { Continue(State().Clock().Now()); });
}

} // namespace corvane
