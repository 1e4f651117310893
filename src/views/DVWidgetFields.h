// Fields in which the user writes. They are labels too: a field shows a text of the application's, or its
// placeholder, until somebody writes in it. What the user wrote is read, and never replaced.
#pragma once

#include "DVWidgetView.h"

class QLineEdit;
class QPlainTextEdit;
class QTextDocument;
class QTextEdit;

// Hidden input has no text.
class DVLineEditView final : public DVWidgetView
{
public:
    explicit DVLineEditView(QLineEdit *edit);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

private:
    QLineEdit *edit() const;
};

class DVTextEditView final : public DVWidgetView
{
public:
    explicit DVTextEditView(QTextEdit *edit);

    // Rich only where it has markers: making HTML of a long text costs.
    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    bool hasAsSubview(const QWidget &child) const override;

private:
    QTextEdit *edit() const;
};

class DVPlainTextEditView final : public DVWidgetView
{
public:
    explicit DVPlainTextEditView(QPlainTextEdit *edit);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    bool hasAsSubview(const QWidget &child) const override;

private:
    QPlainTextEdit *edit() const;
};
