#pragma once

#include "profile.h"

// A change to the profile as the fields one writer changed: applied to the profile as it is
// stored now, it leaves alone what another Brindlow process changed meanwhile. Projects and scan
// folders are changed one by one, so two processes adding a project each keep both.
class ProfileChange
{
public:
    ProfileChange() = default;
    // What changed from `before`, the profile the writer saw, to `after`, the one it wants.
    static ProfileChange between(const Profile& before, const Profile& after);

    bool isEmpty() const;
    void applyTo(Profile& profile) const;

private:
    Profile m_before;
    Profile m_after;
};
