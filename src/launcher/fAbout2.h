// The about box: the program's emblem, name and version.
#pragma once

#include <QDialog>

namespace corvane {

class fAbout2 : public QDialog {
    Q_OBJECT
public:
    explicit fAbout2(QWidget* parent = nullptr);
};

} // namespace corvane
