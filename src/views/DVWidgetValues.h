// Controls that show a value together with texts: combo boxes, spin boxes, progress bars.
#pragma once

#include "DVWidgetView.h"

class QAbstractSpinBox;
class QComboBox;
class QLineEdit;
class QProgressBar;

// The chosen item or the placeholder. Where the user has written something else, the field in it shows that.
class DVComboBoxView final : public DVWidgetViewOf<QComboBox>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;

protected:
    bool hasAsSubview(const QWidget &child) const override;

private:
    bool showsItem() const;
};

// What stands before and behind the value, or instead of it.
class DVSpinBoxView final : public DVWidgetViewOf<QAbstractSpinBox>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
    bool hasAsSubview(const QWidget &child) const override;

private:
    bool showsSpecialValue() const;
};

// The format, with its places for the value.
class DVProgressBarView final : public DVWidgetViewOf<QProgressBar>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    std::optional<DVViewText> ownText() const override;
    void setOwnText(const DVViewText &text, const DVViewText &newText) override;
};
