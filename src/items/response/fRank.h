// The ranking item: labels shown in random order in the left half of the screen, dragged by the
// participant across a bar into an order between two anchors. The first Continue tidies them
// into an even column for a look; a second one, with no drag since, stores the rank of each.
#pragma once

#include "engine/item_frame.h"

#include <array>
#include <functional>
#include <memory>

class QFrame;

namespace corvane {

class RunTimer;

class fRank : public ItemForm {
    Q_OBJECT
public:
    explicit fRank(RunContext& run);
    /// Lays the item out and shows it; the labels come on the first tick of `Timer2`.
    void Load() override;

protected:
    void ToolClick(const QString& key) override;
    bool ItemKey(QKeyEvent* event, qint32 eventTime) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static constexpr int kControls = 30;

    /// One label of the item.
    struct RankItem {
        QString Text;
        int Rank = 0;  // place in the final order, 1 at the top
        int Shown = 0; // the label that the control of the same index shows
    };

    bool ReadPointCount();
    void SplitWording();
    void LayOutDesign();
    void StyleControls();
    void GoOnWithoutTimeLimit();
    void Shuffle();
    void Timer2_Timer();
    double StackHeight() const;
    void Label1_MouseDown(int index, const QPoint& at, qint32 when);
    void Label1_MouseMove(int index, const QPoint& at, Qt::MouseButtons buttons);
    void Continue();
    void Tidy();
    void StoreRanksAndEnd();
    void StoreSafely(const std::function<void()>& store);
    int ControlIndex(const QObject* object) const;

    std::array<RankItem, kControls + 1> RankItems{};
    std::array<QLabel*, kControls + 1> Label1{};
    QLabel* Label2 = nullptr; // the top anchor
    QLabel* Label3 = nullptr; // the bottom anchor
    QFrame* Shape2 = nullptr; // the bar between the halves
    int m_points = 0;
    bool m_moved = false;
    int m_gap = 20; // twips between labels
    bool m_firstDrag = true;
    QPoint m_grab;
    bool m_storeFaultTold = false;
    std::unique_ptr<RunTimer> m_timer2;
};

} // namespace corvane
