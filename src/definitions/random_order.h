// The order of a run is drawn anew at each load: groups (WGR) shuffle their members among the
// places the group occupies; blocks (BGR), runs of adjacent rows, move as a whole among the
// places of movable blocks. The same two rules serve the items and the file list.
#pragma once

#include <QtGlobal>
#include <vector>

namespace corvane {

class RandomSource;
class RunState;

/// `WGRPosition(i)` for rows 1 to n of the given groups (index 0 unused). A group number below
/// 0 or above n is the subscript error. Doesn't seed: it follows on the generator.
std::vector<int> WithinGroupPositions(const std::vector<int>& groups, RandomSource& random);
/// `BGRPosition(t)` for steps 1 to n of the given block numbers (index 0 unused). Seeds the
/// generator first.
std::vector<int> BetweenGroupPositions(const std::vector<int>& blocks, RandomSource& random);

void ShuffleWithinGroups(RunState& state);
void ShuffleBetweenGroups(RunState& state);
void ShuffleFilesWithinGroups(RunState& state);
void ShuffleFilesBetweenGroups(RunState& state);

} // namespace corvane
