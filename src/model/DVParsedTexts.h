// Texts that a program reads: shortcuts, file filters, formats, addresses.
#pragma once

#include <QStringView>

// Applications have translators change these, too, and then hand them to a parser, which a marker breaks: a
// shortcut that does nothing, a file dialog without filters. Nothing in a text says what it is used for, so
// each function judges by its shape, and in doubt says yes: a label that was taken for a format cannot be
// found by touching it, but the application works. Only words of ordinary language are never taken for one,
// though a parser would take them: "Home", "Delete", "Back" are names of keys, and labels of most buttons.
// Pure; linear in the text.

// "Ctrl+S", "Alt+Shift+Del", "Ctrl+K, Ctrl+C", "F5", "Strg+Umschalt+N".
bool dv_looksLikeShortcut(QStringView text);
// "Images (*.png *.jpg)", also several with ";;" between, and "*.png *.jpg".
bool dv_looksLikeFileFilter(QStringView text);
// "dd.MM.yyyy hh:mm", "ddd MMM d", "HHmm", "%Y-%m-%d". Not words that are made of the same letters.
bool dv_looksLikeDateFormat(QStringView text);
// "#,##0.00", with what stands around it.
bool dv_looksLikeNumberFormat(QStringView text);
// "https://example.com/help", "mailto:...", ":/pages/help.html", without a space.
bool dv_looksLikeAddress(QStringView text);

// Any of these, and a text without a letter and without a placeholder: there is nothing in it to translate,
// but it may be a separator, an input mask, a decimal point. And a text of one character, which hosts take
// with at(0).
bool dv_isForPrograms(QStringView text);
