// The course of an on-line rating: the slider's samples gathered into bins of a second by the
// time they were taken, and the one row per rating that the "_online.csv" file of the item's
// variable takes, with the mean of each bin on the scale's own numbers.
#pragma once

#include "output/data_output.h"

#include <QString>
#include <vector>

namespace corvane {

class RunState;

class OnlineBins {
public:
    /// Adds a sample of the slider (hundredths of a scale step) taken `elapsedMs` after the
    /// start. Its bin is the elapsed seconds rounded to the nearest, a half to the even one, so
    /// that bin 0 holds the first half second.
    void Add(qint32 elapsedMs, int value);
    /// The bin of the latest sample: the seconds the rating has lasted.
    int LastSecond() const { return m_lastSecond; }
    int Count(int second) const;
    qint64 Sum(int second) const;

private:
    std::vector<qint64> m_sums{0};
    std::vector<int> m_counts{0};
    int m_lastSecond = 0;
};

/// A bin's value as the file writes it: "-1" without samples, else the mean slider value
/// rounded, added to `lowPoint` * 100, divided by 100, with two decimals.
QString OnlineBinText(const OnlineBins& bins, int second, int lowPoint);

/// The row of one rating: subject, condition, 'date','time', the scale's two ends, the number of
/// bins, and bins 1 to that number, with its line end.
QString OnlineRecord(const RunState& state, const DataOutputSettings& settings, int lowPoint,
                     int highPoint, const OnlineBins& bins);

/// DataRoot/data/ + the item's variable name + "_online.csv"; no machine code in this name.
QString OnlineFilePath(const RunState& state, const QString& variableName);

} // namespace corvane
