// The responses workbook: a spreadsheet beside the experiment that receives each finished
// item's values and times in column B by the keys of column A, computes with its own formulas,
// and gives back skip targets from column C and values for `<key>` in item wordings. The run
// reaches the spreadsheet only through `WorkbookSheet`, whatever program computes it.
#pragma once

#include <QString>
#include <memory>
#include <optional>
#include <vector>

namespace corvane {

class RunState;

/// One row of the sheet's table; a cell whose formula gives an error has no value.
struct WorkbookRow {
    std::optional<QString> a;
    std::optional<QString> b;
    std::optional<QString> c;
};

/// A value written into column B of a row: a number or a text.
struct WorkbookValue {
    int row = 0;
    QString text;
    bool number = false;

    bool operator==(const WorkbookValue&) const = default;
};

/// The active sheet of the open workbook. A method that fails raises `WorkbookFault`; the
/// callers pass it over.
class WorkbookSheet {
public:
    virtual ~WorkbookSheet() = default;
    /// Rows from 1 down to and including the first whose column A is empty.
    virtual std::vector<WorkbookRow> ReadRows() = 0;
    /// Writes the values into column B, lets the formulas compute, and returns column C of the
    /// rows asked for, in their order.
    virtual std::vector<std::optional<QString>>
    WriteAndReadTargets(const std::vector<WorkbookValue>& values,
                        const std::vector<int>& targetRows) = 0;
};

/// A failure of the sheet or of the program behind it.
struct WorkbookFault {
    QString reason;
};

/// The link of a run to its workbook: the two operations that the run makes.
class ResponsesWorkbook {
public:
    explicit ResponsesWorkbook(std::unique_ptr<WorkbookSheet> sheet);
    ~ResponsesWorkbook();

    /// Hands the finished item `variableName` (the item in `CurrentQuestion`) to the sheet and
    /// may set `SkipTarget` from column C. Nothing is written for an item being skipped over
    /// or when going back. Failures are passed over.
    void UpdateResponsesXLS(RunState& state, const QString& variableName,
                            const QString& lastSkipTarget);
    /// The text with each `<key>` of the sheet replaced by its column B. Failures leave the
    /// text as it was.
    QString ReplaceTextXLS(const QString& text);

    /// Set after the first failure of the sheet: what went wrong.
    const QString& LastFault() const { return m_lastFault; }

private:
    void Fault(const WorkbookFault& fault);

    std::unique_ptr<WorkbookSheet> m_sheet;
    QString m_lastFault;
};

/// A response as the sheet should take it: numbers as numbers, so that formulas can sum them.
WorkbookValue ValueForSheet(int row, const QString& response);

} // namespace corvane
