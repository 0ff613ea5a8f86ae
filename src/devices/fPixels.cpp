#include "devices/fPixels.h"

#include "preferences/preferences.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>

namespace corvane {

namespace {

constexpr QPoint kSamplePlace{200, 100}; // l200, t100
constexpr QSize kNaturalSample{240, 160};
constexpr QSize kSizedSample{400, 300}; // w400, h300

QColor ColourOf(quint32 colour) {
    return QColor(QRgb(ColourToRgb(colour)) | 0xff000000u);
}

// The picture box: faint lines under the marks, so that a place between them can be read off.
class MarkedArea : public QWidget {
public:
    explicit MarkedArea(QWidget* parent) : QWidget(parent) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        QColor line = palette().color(QPalette::WindowText);
        line.setAlpha(50);
        painter.setPen(QPen(line, 1, Qt::DotLine));
        for (int x = fPixels::kStep; x < width(); x += fPixels::kStep)
            painter.drawLine(x, 0, x, height());
        for (int y = fPixels::kStep; y < height(); y += fPixels::kStep)
            painter.drawLine(0, y, width(), y);
    }
};

} // namespace

QPixmap SamplePicture(QSize size) {
    QPixmap picture(size);
    picture.fill(QColor(70, 110, 160));
    QPainter painter(&picture);
    painter.setPen(QPen(Qt::white, 2));
    painter.drawRect(QRect(QPoint(1, 1), size - QSize(2, 2)));
    painter.drawLine(0, 0, size.width(), size.height());
    painter.drawLine(0, size.height(), size.width(), 0);
    QFont font = painter.font();
    font.setPixelSize(18);
    font.setBold(true);
    painter.setFont(font);
    const QRect band(0, size.height() / 2 - 14, size.width(), 28);
    painter.fillRect(band, QColor(70, 110, 160));
    painter.drawText(band, Qt::AlignCenter,
                     QStringLiteral("%1 x %2 pixels").arg(size.width()).arg(size.height()));
    return picture;
}

fPixels::fPixels(const Preferences& look, Topic topic) : m_topic(topic) {
    setObjectName(topic == Topic::Location ? QStringLiteral("fPixels")
                                           : QStringLiteral("fPixels2"));
    setWindowTitle(topic == Topic::Location ? QStringLiteral("Setting Location Points")
                                            : QStringLiteral(" Sizing Movies and Images"));
    setAttribute(Qt::WA_DeleteOnClose);
    Picture1 = new MarkedArea(this);
    Picture1->setObjectName(QStringLiteral("Picture1"));
    Picture1->setAutoFillBackground(true);
    Image1 = new QLabel(Picture1);
    Image1->setObjectName(QStringLiteral("Image1"));
    Image1->setScaledContents(true);
    lText = new QLabel(Picture1);
    lText->setObjectName(QStringLiteral("lText"));
    lText->setWordWrap(true);
    Command1 = new QPushButton(QStringLiteral("Ok"), Picture1);
    Command1->setObjectName(QStringLiteral("Command1"));
    connect(Command1, &QPushButton::clicked, this, &QWidget::close);
    for (int n = 1; n <= kMarks; ++n) {
        lTop[std::size_t(n)] = new QLabel(QString::number(n * kStep), Picture1);
        lTop[std::size_t(n)]->setObjectName(QStringLiteral("lTop(%1)").arg(n));
        lLeft[std::size_t(n)] = new QLabel(QString::number(n * kStep), Picture1);
        lLeft[std::size_t(n)]->setObjectName(QStringLiteral("lLeft(%1)").arg(n));
    }
    Form_Load(look);
}

void fPixels::Form_Load(const Preferences& look) {
    // The forms of a run cover the whole screen, so the marks count from its corner, in the
    // pixels that the t, l, w and h parameters are given in.
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->geometry() : QRect(0, 0, 1024, 768);
    setGeometry(area);
    Picture1->setGeometry(0, 0, area.width(), area.height());
    QPalette back = Picture1->palette();
    back.setColor(QPalette::Window, ColourOf(look.BackColors[1]));
    back.setColor(QPalette::WindowText, ColourOf(look.ForeColors[1]));
    Picture1->setPalette(back);

    const PreferenceFont& style = look.Fonts[1];
    QFont font(style.name);
    font.setPointSizeF(style.size);
    font.setBold(style.bold);
    font.setItalic(style.italic);
    QPalette text = Picture1->palette();
    text.setColor(QPalette::WindowText, ColourOf(look.ForeColors[1]));
    for (int n = 1; n <= kMarks; ++n) {
        for (QLabel* mark : {lTop[std::size_t(n)], lLeft[std::size_t(n)]}) {
            mark->setFont(font);
            mark->setPalette(text);
            mark->adjustSize();
        }
        lTop[std::size_t(n)]->move(n * kStep, 0);
        lLeft[std::size_t(n)]->move(0, n * kStep);
    }
    const QSize sample = m_topic == Topic::Location ? kNaturalSample : kSizedSample;
    Image1->setPixmap(SamplePicture(sample));
    Image1->setGeometry(QRect(kSamplePlace, sample));

    lText->setFont(font);
    lText->setPalette(text);
    lText->setText(Explanation());
    const int textLeft = kSamplePlace.x() + sample.width() + 60;
    lText->setGeometry(textLeft, kSamplePlace.y() + 40, qMax(300, area.width() - textLeft - 60),
                       qMax(200, area.height() / 2));
    Command1->adjustSize();
    Command1->resize(qMax(Command1->width(), 100), qMax(Command1->height(), 32));
    Command1->move(area.width() - Command1->width() - 40, area.height() - Command1->height() - 40);
}

QString fPixels::Explanation() const {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QSize size = screen ? screen->geometry().size() : QSize(1024, 768);
    const double ratio = screen ? screen->devicePixelRatio() : 1.0;
    QString where =
        QStringLiteral("This screen is %1 x %2 pixels").arg(size.width()).arg(size.height());
    if (ratio != 1.0)
        where += QStringLiteral(" (each of them %1 x %1 of the display's own dots)").arg(ratio);
    where += QStringLiteral(". The numbers along the top and the left edge count pixels from the "
                            "top left corner, every 100 pixels.\n\n");
    if (m_topic == Topic::Location)
        return where + QStringLiteral(
                           "A picture or movie placed with t100 and l200 stands where the sample "
                           "picture stands: its top left corner 100 pixels down and 200 pixels "
                           "across. Without t and l a picture is centred.");
    return where + QStringLiteral(
                       "A picture or movie given w400 and h300 takes 400 by 300 pixels, as the "
                       "sample does (placed at t100, l200). With only w or only h, the other side "
                       "keeps the picture's own size; without either, the picture keeps its own "
                       "size.");
}

void fPixels::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_Return ||
        event->key() == Qt::Key_Enter)
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace corvane
