// Whether windows can be translucent here.
#pragma once

#include <optional>

// False on X11 while no compositing manager runs: what a window leaves transparent is black there.
bool dv_hasCompositor();

// For tests: the answer from now on; none asks the screen again.
void dv_setHasCompositor(std::optional<bool> answer);
