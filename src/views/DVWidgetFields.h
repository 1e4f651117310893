// Fields in which the user writes. They are labels too: a field shows a text of the application's, or its
// placeholder, until somebody writes in it. What the user wrote is read, and never replaced.
#pragma once

#include "DVWidgetView.h"

class QLineEdit;
class QPlainTextEdit;
class QTextDocument;
class QTextEdit;

// Hidden input has no text.
class DVLineEditView final : public DVWidgetViewOf<QLineEdit>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;
};

class DVTextEditView final : public DVWidgetViewOf<QTextEdit>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    // Rich only where it has markers: making HTML of a long text costs.
    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    bool hasAsSubview(const QWidget &child) const override;
};

class DVPlainTextEditView final : public DVWidgetViewOf<QPlainTextEdit>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    bool hasAsSubview(const QWidget &child) const override;
};
