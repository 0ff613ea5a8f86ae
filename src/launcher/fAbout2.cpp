#include "launcher/fAbout2.h"

#include "launcher/artwork.h"

#include <QGridLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>

namespace corvane {

fAbout2::fAbout2(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("fAbout2"));
    setWindowTitle(QStringLiteral("About Corvane"));
    auto* grid = new QGridLayout(this);
    auto* picture = new QLabel(this);
    picture->setObjectName(QStringLiteral("Image1"));
    picture->setPixmap(QPixmap::fromImage(artwork::Emblem(96)));
    grid->addWidget(picture, 0, 0, 3, 1, Qt::AlignTop);
    auto* name = new QLabel(QStringLiteral("<b>Corvane</b>"), this);
    name->setObjectName(QStringLiteral("lblTitle"));
    QFont big = name->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    name->setFont(big);
    grid->addWidget(name, 0, 1);
    auto* version = new QLabel(QStringLiteral("v ") + QStringLiteral(CORVANE_VERSION), this);
    version->setObjectName(QStringLiteral("lblversion"));
    grid->addWidget(version, 1, 1);
    auto* words = new QLabel(QStringLiteral("A laboratory program for research in psychology:\n"
                                            "questionnaires, instructions and media in the order "
                                            "an experiment defines,\nwith reaction times in "
                                            "milliseconds and data for spreadsheets and "
                                            "statistics."),
                             this);
    words->setObjectName(QStringLiteral("lblDescription"));
    grid->addWidget(words, 2, 1);
    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    grid->addWidget(ok, 3, 1, Qt::AlignRight);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
}

} // namespace corvane
