// What the class of a Qt Quick item says about its texts.
#pragma once

class QQuickItem;

struct DVQuickClass
{
    bool isText = false;  // Text and what derives from it
    bool isField = false; // TextInput, TextEdit and what derives from them
    bool isComboBox = false;
    bool isButton = false;   // AbstractButton
    bool isItemView = false; // ListView, GridView, TableView
    bool hasText = false;    // texts that can be read and written
    bool hasTitle = false;
    bool hasPlaceholder = false;
};

// Quick: a class of C++ is looked at once. Main thread.
DVQuickClass dv_quickClass(const QQuickItem &item);
