// The thought rating item: the scale of a scale item, shown once for each entry of a thought list
// made earlier in the run, with the entry under the wording. Each rating is a variable of its
// own, and each entry has its own onset delay and its own clock.
#pragma once

#include "items/response/fScale.h"

namespace corvane {

class RunTimer;

class fThoughtRate : public fScale {
    Q_OBJECT
public:
    explicit fThoughtRate(RunContext& run);
    ~fThoughtRate() override;
    void Load() override;

protected:
    QString Caption() const override;
    void Choose(int choice, const QString& value, bool byKey) override;
    void Unloading() override;

private:
    void Store(const QString& value, bool asText);
    void GoOn();
    /// The next thought's wording, then its reveal.
    void NextThought();

    std::unique_ptr<RunTimer> m_shownChoice;
};

} // namespace corvane
