// The look of the application: style, palette, fonts and style sheet.
#pragma once

class QApplication;
class QWidget;

void applyLook(QApplication &application);

// The style sheet knows "card", "chip", "title", "subtitle", "hint" and "primary".
void setRole(QWidget *widget, const char *role);
