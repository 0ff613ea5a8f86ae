// The word processor that shows the documents of an experiment, made ready while it loads: the
// program the document kind is registered with, else the one in the folder the preferences name.
#pragma once

#include <QString>
#include <functional>

namespace corvane {

class RunState;

/// The launcher's first status panel, where the search is announced. Empty functions when
/// there is no launcher on the screen.
struct StatusPanel {
    std::function<QString()> text;
    /// Shows the text and returns once it is on the screen.
    std::function<void(const QString&)> show;
};

/// The name the operator knows a document kind by: "doc" or "wpd".
QString WordProcessorName(const QString& kind);

/// Looks for the program of the document kind ("doc" or "wpd"): first the one registered for
/// the kind, then the office program in `wordFolder`. Sets `WordFound` when one is there; when
/// neither is and `wordFolder` names a folder, says that the documents will be skipped.
void OpenWordProcessor(RunState& state, const QString& kind, const QString& wordFolder,
                       const StatusPanel& panel);

} // namespace corvane
