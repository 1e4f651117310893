// What screen readers are told of the interface's own controls.
#pragma once

// Roles for our classes that have no standard control under them: a popup is a dialog, the page dots an
// indicator. Again and again does nothing more.
void dv_installAccessibility();
