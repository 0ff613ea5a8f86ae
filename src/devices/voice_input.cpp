#include "devices/voice_input.h"

#include "devices/audio_input_source.h"

namespace corvane {

namespace {

MakeSampleSource& ChosenInput() {
    static MakeSampleSource make;
    return make;
}

} // namespace

void SetVoiceInput(MakeSampleSource make) {
    ChosenInput() = std::move(make);
}

std::unique_ptr<SampleSource> MakeVoiceInput(RunClock& clock) {
    if (ChosenInput())
        return ChosenInput()(clock);
    return std::make_unique<AudioInputSource>(clock);
}

} // namespace corvane
