#pragma once

#include "model/recap_data.h"

#include <QCoreApplication>
#include <QList>

#include <functional>
#include <optional>

class QWidget;

// Which slides a recap has, and the dark slides themselves (the light finale is FinaleView).
class RecapSlides
{
    Q_DECLARE_TR_FUNCTIONS(RecapSlides)

public:
    enum class Slide { intro, moved, groups, renamed, clear, finale };

    // The slides worth showing for this recap, always ending on the finale.
    static QList<Slide> listFor(const std::optional<RecapData>& recap);

    // The groups slide has room for this many rows; the rest are counted in one line below them.
    static constexpr int kMaxGroupRows = 7;
    // Each bar lets go this much after the one above it.
    static constexpr int kGroupDelayStepMs = 90;
    static constexpr int kGroupFirstDelayMs = 300;

    static QWidget* intro(const RecapData& recap);
    static QWidget* moved(const RecapData& recap);
    static QWidget* groups(const RecapData& recap);
    static QWidget* renamed(const RecapData& recap);
    // `openReviewFolder` runs when the person asks to see what waits to be cleared out.
    static QWidget* clear(const RecapData& recap, const std::function<void()>& openReviewFolder);
};
