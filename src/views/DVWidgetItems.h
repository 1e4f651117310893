// Item views and headers. The texts are the model's: what the application has put into one of Qt's own models
// takes a new text, another model is read again.
#pragma once

#include "DVWidgetView.h"

class QAbstractItemView;
class QHeaderView;

class DVItemView final : public DVWidgetViewOf<QAbstractItemView>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    void contentsDidChange() override;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};

class DVHeaderView final : public DVWidgetViewOf<QHeaderView>
{
public:
    using DVWidgetViewOf::DVWidgetViewOf;

    void contentsDidChange() override;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;
};
