// The responses workbook computed by a real spreadsheet program: a small bridge process keeps
// the workbook open in a private, headless spreadsheet instance with its own profile folder,
// and answers one request a line over its standard input and output. The workbook is opened
// read-only and never saved.
#pragma once

#include "output/responses_workbook.h"

#include <QString>
#include <memory>

namespace corvane {

/// How the bridge is started.
struct BridgeSettings {
    /// The interpreter that has the spreadsheet program's scripting bindings.
    QString python;
    /// The bridge script.
    QString script;
    /// The spreadsheet program's private profile, kept from run to run; empty for the one in
    /// the user's cache folder. A fresh one is made when another run holds it.
    QString profileFolder;
    /// The start of the spreadsheet program and the opening of the workbook.
    int startTimeoutMs = 60000;
    /// Any one later request.
    int requestTimeoutMs = 10000;
};

/// The settings of an installed Corvane: the system's python3 and the installed script.
BridgeSettings DefaultBridgeSettings();

/// The responses workbook of an experiment's folder: responses.xls, else .xlsx, else .ods,
/// found without regard to letter case. Empty when there is none.
QString FindResponsesWorkbook(const QString& experimentFolder);

/// What opening a workbook gave: the link, or why there is none.
struct WorkbookOpening {
    std::unique_ptr<ResponsesWorkbook> workbook;
    QString path;
    /// Why the workbook is off, as the end of a sentence: "it can't be found ...".
    QString problem;
    /// Milliseconds from the start of the bridge to the workbook's being open.
    qint64 startMs = 0;
};

/// Starts the bridge and opens the workbook at `path`.
WorkbookOpening OpenWorkbookThroughBridge(const QString& path, const BridgeSettings& settings);

/// Finds the experiment's workbook and opens it.
WorkbookOpening OpenResponsesWorkbook(const QString& experimentFolder,
                                      const BridgeSettings& settings);

/// The operator's message when the workbook is off for a run.
QString WorkbookOffText(const WorkbookOpening& opening);

} // namespace corvane
