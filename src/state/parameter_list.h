// The result of the last extraction of a parameter list from a definition cell.
#pragma once

#include <QString>
#include <array>

namespace corvane {

struct ParameterList {
    /// Slots 1 to 10 (element 0 unused). A slot never filled reads as "0", which is no letter.
    std::array<QString, 11> entries;
    int count = 0;

    ParameterList() { Clear(); }
    void Clear() {
        entries.fill(QStringLiteral("0"));
        count = 0;
    }
};

} // namespace corvane
