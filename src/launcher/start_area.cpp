#include "launcher/start_area.h"

#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

namespace corvane {

namespace {

QLabel* Heading(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    label->setFont(font);
    return label;
}

QPushButton* Action(const char* name, const QString& caption, const QString& tip, QWidget* parent) {
    auto* button = new QPushButton(caption, parent);
    button->setObjectName(QLatin1String(name));
    button->setToolTip(tip);
    button->setMinimumHeight(32);
    return button;
}

} // namespace

StartArea::StartArea(QWidget* parent) : QFrame(parent) {
    setObjectName(QStringLiteral("StartArea"));
    setFrameShape(QFrame::StyledPanel);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, QColor(0xfb, 0xfc, 0xfe));
    setPalette(colours);
    setAutoFillBackground(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);

    auto* columns = new QHBoxLayout(this);
    columns->setContentsMargins(18, 12, 18, 16);
    columns->setSpacing(24);

    auto* recent = new QVBoxLayout;
    recent->setSpacing(8);
    recent->addWidget(Heading(QStringLiteral("Recent experiments"), this));
    m_recent = new QListWidget(this);
    m_recent->setObjectName(QStringLiteral("lstRecent"));
    m_recent->setToolTip(QStringLiteral("Double-click an experiment, or press Enter, to run it "
                                        "again"));
    m_recent->setTextElideMode(Qt::ElideMiddle);
    m_recent->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_recent->setMinimumWidth(380);
    recent->addWidget(m_recent);
    m_noRecent = new QLabel(QStringLiteral("No experiment has been run here yet."), this);
    m_noRecent->setObjectName(QStringLiteral("lblNoRecent"));
    recent->addWidget(m_noRecent);
    recent->addStretch(1);
    columns->addLayout(recent, 1);
    connect(m_recent, &QListWidget::itemActivated, this,
            [this](QListWidgetItem* item) { emit RecentChosen(item->data(Qt::UserRole).toInt()); });

    auto* start = new QVBoxLayout;
    start->setSpacing(8);
    start->addWidget(Heading(QStringLiteral("Start"), this));
    QPushButton* demo = Action("cmdDemo", QStringLiteral("Open the demo experiment"),
                               QStringLiteral("Two short questionnaires in two conditions; "
                                              "enter a participant and a condition"),
                               this);
    QPushButton* create =
        Action("cmdNewExperiment", QStringLiteral("New experiment from the template..."),
               QStringLiteral("Writes a questionnaire to edit in a spreadsheet, and makes the "
                              "experiment from it"),
               this);
    QPushButton* help =
        Action("cmdHelp", QStringLiteral("Open the help"),
               QStringLiteral("How to prepare, run and analyse an experiment (F1)"), this);
    for (QPushButton* button : {demo, create, help})
        start->addWidget(button);
    start->addStretch(1);
    columns->addLayout(start);
    connect(demo, &QPushButton::clicked, this, &StartArea::DemoChosen);
    connect(create, &QPushButton::clicked, this, &StartArea::NewExperimentChosen);
    connect(help, &QPushButton::clicked, this, &StartArea::HelpChosen);
    ShowRecent({});
}

void StartArea::ShowRecent(const QStringList& entries) {
    m_recent->clear();
    for (int slot = 1; slot <= int(entries.size()); ++slot) {
        const QString& path = entries[slot - 1];
        if (path.isEmpty())
            continue;
        const QFileInfo info(path);
        auto* item = new QListWidgetItem(info.fileName() + QStringLiteral("  \u2014  ") +
                                             QDir::toNativeSeparators(info.path()),
                                         m_recent);
        item->setToolTip(QDir::toNativeSeparators(path));
        item->setData(Qt::UserRole, slot);
    }
    const bool any = m_recent->count() > 0;
    m_recent->setVisible(any);
    m_noRecent->setVisible(!any);
    // As tall as the list, up to five entries; the rest scroll.
    const int rows = std::clamp(m_recent->count(), 4, 5);
    m_recent->setSpacing(2);
    m_recent->setFixedHeight(rows * (m_recent->fontMetrics().height() + 4) +
                             2 * m_recent->frameWidth() + 4);
}

void StartArea::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

} // namespace corvane
