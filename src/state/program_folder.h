// The program's own folder: styles, graphics, ini, help, utilities, the single-questionnaire
// template and CurrentSubjectInfo.txt. It is a writable per-user folder, seeded from the
// installed resources; a portable install keeps it beside the executable.
#pragma once

#include <QString>

namespace corvane {

class ProgramFolder {
public:
    /// The folder in force.
    static QString Path();
    /// Points the program at another folder (tests, a portable install).
    static void SetPath(const QString& path);
    /// Where the installed resources are: beside the executable's share folder, or the build's.
    static QString ResourcesPath();
    /// Makes the folder with its styles, graphics, ini, help, utilities and experiment editor
    /// folders, and copies every resource that it lacks; what is there already is kept, so that
    /// a laboratory's own edits survive. False with a reason when something can't be made.
    static bool Seed(QString* problem = nullptr);
    /// A file of the folder.
    static QString FilePath(const QString& relative);
};

} // namespace corvane
