// A second syntax file beside each one the data folders keep, written for GNU PSPP: the same
// variables, read with string widths that hold any path, the missing-value code declared, and
// sample commands in the grammar PSPP accepts.
#pragma once

#include <QString>

namespace corvane {

class RunState;

/// The PSPP syntax that reads the same data file as `syntax`, a syntax text as Corvane writes
/// it for either organisation of the data.
QString PsppSyntax(const QString& syntax);

/// Where the PSPP syntax of the syntax file `spsPath` goes: `<name>_pspp.sps` beside it.
QString PsppSyntaxPath(const QString& spsPath);

/// Rewrites the PSPP syntax beside `spsPath`; a fault is told and costs the run nothing else.
void WritePsppSyntax(RunState& state, const QString& spsPath, const QString& syntax);

} // namespace corvane
