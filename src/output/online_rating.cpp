#include "output/online_rating.h"

#include "definitions/number_reading.h"
#include "output/output_common.h"
#include "state/run_state.h"

#include <QDir>

namespace corvane {

void OnlineBins::Add(qint32 elapsedMs, int value) {
    const int second = RoundToInt16(elapsedMs / 1000.0);
    if (second < 0)
        return; // a clock that went back gives no bin
    m_lastSecond = second;
    if (std::size_t(second) >= m_counts.size()) {
        m_sums.resize(std::size_t(second) + 1, 0);
        m_counts.resize(std::size_t(second) + 1, 0);
    }
    m_sums[std::size_t(second)] += value;
    ++m_counts[std::size_t(second)];
}

int OnlineBins::Count(int second) const {
    return second >= 0 && std::size_t(second) < m_counts.size() ? m_counts[std::size_t(second)] : 0;
}

qint64 OnlineBins::Sum(int second) const {
    return second >= 0 && std::size_t(second) < m_sums.size() ? m_sums[std::size_t(second)] : 0;
}

QString OnlineBinText(const OnlineBins& bins, int second, int lowPoint) {
    const int count = bins.Count(second);
    if (count == 0)
        return QStringLiteral("-1");
    // The mean in hundredths of a step first, so that the value is exact to a hundredth.
    const qint32 mean = RoundToInt32(double(bins.Sum(second)) / count);
    const double value = (double(lowPoint) * 100 + mean) / 100;
    return QString::number(value, 'f', 2);
}

QString OnlineRecord(const RunState& state, const DataOutputSettings& settings, int lowPoint,
                     int highPoint, const OnlineBins& bins) {
    QString row = state.SubjectID + QLatin1Char(',') + state.ConditionID + QStringLiteral(",'") +
                  settings.date + QStringLiteral("','") + settings.time + QStringLiteral("',") +
                  QString::number(lowPoint) + QLatin1Char(',') + QString::number(highPoint) +
                  QLatin1Char(',') + QString::number(bins.LastSecond()) + QLatin1Char(',');
    QStringList values;
    for (int second = 1; second <= bins.LastSecond(); ++second)
        values << OnlineBinText(bins, second, lowPoint);
    return row + values.join(QLatin1Char(',')) + kLineEnd;
}

QString OnlineFilePath(const RunState& state, const QString& variableName) {
    return QDir(DataFolder(state, QString()))
        .filePath(variableName + QStringLiteral("_online.csv"));
}

} // namespace corvane
