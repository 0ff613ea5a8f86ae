// Which outside programs a run may start. An experiment copied from elsewhere can name any
// program, so before one is started for the first time the operator sees the program and its
// command line and agrees. The answer holds for that definition file as long as its content
// stays the same; unattended runs start programs only when told to.
#pragma once

#include <QString>

namespace corvane {

class RunState;

enum class ProgramPolicy {
    Ask,    // the launcher: the operator confirms each program once per file content
    Allow,  // an unattended run with --allow-programs
    Refuse, // an unattended run without it
};

class ProgramConsent {
public:
    ProgramConsent(RunState& state, ProgramPolicy policy) : m_state(state), m_policy(policy) {}

    /// True when `program` may be started with `arguments`; `namedIn` is the definition file
    /// (experiment or questionnaire) that names it. A refusal has been told to the operator.
    bool MayStart(const QString& program, const QString& arguments, const QString& namedIn);

    ProgramPolicy Policy() const { return m_policy; }

    /// The key under which a confirmation is remembered: the file, its content and the program.
    static QString ConfirmationKey(const QString& namedIn, const QString& program);

private:
    RunState& m_state; // its message boxes ask and tell
    ProgramPolicy m_policy;
};

} // namespace corvane
