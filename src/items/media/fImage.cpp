#include "items/media/fImage.h"

#include "engine/run_driver.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QFileInfo>
#include <QHash>
#include <QImageReader>

namespace corvane {

namespace {

// An item's width stays for the images of the list after it, which have none of their own:
// the one value that the old hand-over kept from one image to the next.
int s_imageWidth = 0;

constexpr qint64 kMostDecodedBytes = qint64(256) << 20;

// The pictures of the experiment in hand, decoded at its load, by path.
QHash<QString, QImage>& Decoded() {
    static QHash<QString, QImage> images;
    return images;
}

bool NamesImage(const ExperimentNeeds::NamedFile& named) {
    if (!named.itemType.isEmpty())
        return named.itemType.trimmed().toLower() == QLatin1String("image file");
    return ClassifyFileKind(LastChars(named.file, 3).toLower()) == FileKindClass::Image;
}

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

void fImage::PrepareImages(RunContext&, const ExperimentNeeds& needs, const StatusPanel&) {
    Decoded().clear();
    qint64 bytes = 0;
    for (const ExperimentNeeds::NamedFile& named : needs.files) {
        const auto found = NamesImage(named) ? FindFile(named.file) : std::nullopt;
        if (!found)
            continue;
        const QString path = QFileInfo(*found).absoluteFilePath();
        if (Decoded().contains(path))
            continue;
        QImageReader reader(path);
        reader.setAutoTransform(true);
        const QImage image = reader.read();
        // One that can't be read is told when it is shown.
        if (image.isNull() || bytes + image.sizeInBytes() > kMostDecodedBytes)
            continue;
        bytes += image.sizeInBytes();
        Decoded().insert(path, image);
    }
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

    const QString path = FoundPath(name);
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QImage image = Decoded().contains(path) ? Decoded().value(path) : reader.read();
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
