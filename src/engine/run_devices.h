// The devices of a run as the engine sees them: it tells them the moments they act on and never
// names one. They are made beside the devices, in the one function below.
#pragma once

#include <QString>
#include <functional>
#include <memory>

class QWidget;

namespace corvane {

class RunState;

class RunDevices {
public:
    virtual ~RunDevices() = default;
    /// An item's wording has just reached the screen, at `shownAt` on the run clock (its
    /// `ItemStart`): the pulse of its port code goes out now.
    virtual void ItemOnScreen(const QString& ttlCode, qint32 shownAt) = 0;
    /// The run's screen has opened, in the experiment's folder.
    virtual void RunScreenOpened(const QString& experimentFolder) = 0;
};

/// The program's devices for the run state; `currentForm` gives the item form on the screen.
std::unique_ptr<RunDevices> MakeProgramDevices(RunState& state,
                                               std::function<QWidget*()> currentForm);

} // namespace corvane
