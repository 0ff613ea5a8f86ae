#include "engine/insert_answers.h"

#include "state/run_state.h"

namespace corvane {

QString InsertAnswers(const RunState& state, QString text) {
    // Positions are counted from 1 here, as the resume rule is stated that way.
    qsizetype p = 1;
    QString name;
    for (int passes = 1;; ++passes) {
        const qsizetype L = text.indexOf(QLatin1Char('<'), p - 1) + 1;
        qsizetype G = text.indexOf(QLatin1Char('>'), p - 1) + 1;
        if (L == 0 || G == 0)
            return text;
        // A ">" before the "<" leaves the name of the former pass.
        if (G > L)
            name = text.mid(L, G - L - 1);
        for (int i = state.InsertCount(); i >= 1; --i) {
            if (name.toLower() != state.InsertNames.at(i))
                continue;
            const QString& value = state.InsertValues.at(i);
            text = text.left(L - 1) + value + text.mid(G);
            G = G - name.size() + value.size();
        }
        p = G + 1;
        if (p > text.size())
            p = text.size();
        if (passes >= 101)
            return QString();
    }
}

} // namespace corvane
