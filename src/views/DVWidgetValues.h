// Controls that show a value together with texts: combo boxes, spin boxes, progress bars.
#pragma once

#include "DVWidgetView.h"

class QAbstractSpinBox;
class QComboBox;
class QLineEdit;
class QProgressBar;

// The chosen item or the placeholder. Where the user has written something else, the field in it shows that.
class DVComboBoxView final : public DVWidgetView
{
public:
    explicit DVComboBoxView(QComboBox *box);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    bool hasAsSubview(const QWidget &child) const override;

private:
    QComboBox *box() const;
    bool showsItem() const;
};

// What stands before and behind the value, or instead of it.
class DVSpinBoxView final : public DVWidgetView
{
public:
    explicit DVSpinBoxView(QAbstractSpinBox *box);

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
    bool hasAsSubview(const QWidget &child) const override;

private:
    QAbstractSpinBox *box() const;
    bool showsSpecialValue() const;
};

// The format, with its places for the value.
class DVProgressBarView final : public DVWidgetView
{
public:
    explicit DVProgressBarView(QProgressBar *bar);

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;
};
