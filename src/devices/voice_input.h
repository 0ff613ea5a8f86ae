// Where the voice key's samples come from: the sound server's default input, unless a test or
// an unattended run has put another source in its place.
#pragma once

#include "devices/sample_source.h"

#include <functional>
#include <memory>

namespace corvane {

class RunClock;

using MakeSampleSource = std::function<std::unique_ptr<SampleSource>(RunClock&)>;

/// Puts a source in place of the sound server's input for every voice key from now on; an empty
/// function gives the sound server's input back.
void SetVoiceInput(MakeSampleSource make);

/// A new source for one voice key.
std::unique_ptr<SampleSource> MakeVoiceInput(RunClock& clock);

} // namespace corvane
