// The one seam through which the launcher asks for a file, so that tests can answer it.
#pragma once

#include <QString>

class QWidget;

namespace corvane {

/// What an open-file dialog shows. The filter is written as pairs "Description|patterns|",
/// patterns separated by ";".
struct FileRequest {
    QString title;
    QString filter;
    QString fileName;
    QString folder;
};

class FileDialogs {
public:
    virtual ~FileDialogs() = default;
    /// The chosen file as a full path; empty when the operator cancels.
    virtual QString GetOpenFileName(QWidget* parent, const FileRequest& request) = 0;
    /// A new file's full path, named by the operator; empty when the operator cancels.
    virtual QString GetSaveFileName(QWidget* parent, const FileRequest& request) = 0;
    /// A folder, chosen by the operator; empty when the operator cancels (or a test gives none).
    virtual QString GetFolder(QWidget*, const FileRequest&) { return {}; }
};

/// The desktop's own open-file dialog.
class WidgetFileDialogs : public FileDialogs {
public:
    QString GetOpenFileName(QWidget* parent, const FileRequest& request) override;
    QString GetSaveFileName(QWidget* parent, const FileRequest& request) override;
    QString GetFolder(QWidget* parent, const FileRequest& request) override;
};

/// The folder an open dialog starts in: the folder of the file last chosen, while it is there;
/// else the user's documents folder, else the home folder.
QString OpenDialogFolder();
/// Keeps the folder of a chosen file in the settings for the next dialog, also after a restart.
void RememberOpenDialogFolder(const QString& chosenFile);

/// A filter of pairs as the dialog of this desktop takes it: "Experiment (*.exp);;All files
/// (*)". "*.*" means every file here, named with a point or not.
QString DialogFilter(const QString& pairs);

} // namespace corvane
