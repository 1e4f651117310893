// Item views and headers. The texts are the model's: what the application has put into one of Qt's own models
// takes a new text, another model is read again.
#pragma once

#include "DVWidgetView.h"

class QAbstractItemView;
class QHeaderView;

class DVItemView final : public DVWidgetView
{
public:
    explicit DVItemView(QAbstractItemView *view);

    void contentsDidChange() override;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;

private:
    QAbstractItemView *view() const;
};

class DVHeaderView final : public DVWidgetView
{
public:
    explicit DVHeaderView(QHeaderView *header);

    void contentsDidChange() override;

protected:
    QList<DVViewPtr> parts() const override;
    DVViewPtr partAt(const QPoint &point) const override;

private:
    QHeaderView *header() const;
};
