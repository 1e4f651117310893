// Texts that views have from interface files, or from code that does not translate them.
#pragma once

class QAction;
class QWidget;

// A label, a button, or each tab of a bar whose text has no markers and is a text of the base language that
// came from an interface file gets what the main bundle says for its key: its translation, with markers. Once
// that is done there is nothing more to do. Nothing happens before the start is over, nor outside of review
// and capture modes.
void dv_localizeInterfaceTexts(QWidget &widget);
void dv_localizeInterfaceText(QAction &action);
