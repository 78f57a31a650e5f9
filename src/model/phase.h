#pragma once

// The controller's state; the integer codes follow the declaration order.
enum class Phase {
    idle,
    scanning,
    review,
    applying,
    done,
};
