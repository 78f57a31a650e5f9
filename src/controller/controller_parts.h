#pragma once

class Activity;
class Moves;
class OwnRules;
class PlanReview;
class Preferences;
class RefreshRun;

// The controller's parts, handed to the windows that show several of them. Each view includes
// the headers of the parts it reads, never the whole controller.
struct ControllerParts
{
    Activity& activity;
    Preferences& preferences;
    RefreshRun& refresh;
    PlanReview& review;
    Moves& moves;
    OwnRules& rules;
};
