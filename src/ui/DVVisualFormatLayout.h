// DVVisualFormatLayout: a layout written in visual format.
#pragma once

#include "DVVisualFormat.h"

#include <QHash>
#include <QLayout>

#include <memory>
#include <optional>
#include <vector>

// Views are added with a key and stand where the formats say. What the formats leave open:
// - A view has its size hint, or its height for its width. Views that expand (by their size policy, or
// because they
//   have no size of their own) share what is left, equally; where none does, those that may grow share it.
// - When there is too little room views go down to their minimum, expanding ones first, and then below it,
// later
//   ones first. Lengths that a format gives yield last, those of later formats first.
// - A view that no format mentions along an axis, or not up to an edge, stands as near to the start as it
// can. Widgets stand on whole points: a fraction counts as the whole point above it. Hidden views keep their
// place. Horizontal formats are mirrored from right to left. The layout has no margins of its own.
class DVVisualFormatLayout : public QLayout
{
    Q_OBJECT

public:
    explicit DVVisualFormatLayout(QWidget *parent = nullptr);
    ~DVVisualFormatLayout() override;

    // The view becomes a child of the layout's widget. A key that is there already gets the new view.
    void addView(const QString &key, QWidget *view);
    // What formats call it; also later, for a length that changes.
    void setMetric(const QString &name, double points);

    // On an error, which says where in which format, none of these formats was added. Views and metrics must
    // have been named before.
    [[nodiscard]] DVErrorOr addFormats(const QStringList &formats);
    void removeFormats();
    // The formats whose lengths could not all be kept when the views were last placed.
    QStringList brokenFormats() const { return m_broken; }

    QSize sizeHint() const override;
    QSize minimumSize() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    int minimumHeightForWidth(int width) const override;
    Qt::Orientations expandingDirections() const override;
    void setGeometry(const QRect &rect) override;
    void invalidate() override;

    // QLayout's view of the same. Widgets without a key are placed by no format; other items are not taken.
    void addItem(QLayoutItem *item) override;
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    int count() const override { return int(m_views.size()); }

private:
    struct View
    {
        QString key;
        std::unique_ptr<QLayoutItem> item;
    };
    struct Format
    {
        QString text;
        DVVisualFormat parsed;
    };
    struct Sizes
    {
        QSize natural;
        QSize least;
    };
    struct HeightForWidth
    {
        int width = -1;
        int natural = 0;
        int least = 0;
    };
    class Axis;

    QString reasonAgainst(const DVVisualFormat &format) const;
    QString reasonAgainst(const DVLengthRule &rule, bool ofView) const;
    std::size_t numberOf(const QString &key) const;
    Axis axis(Qt::Orientation orientation, const QList<int> &widths = {}) const;
    QList<int> widthsFor(int width) const;
    const Sizes &sizes() const;
    const HeightForWidth &heights(int width) const;

    std::vector<View> m_views;
    QHash<QString, double> m_metrics;
    QList<Format> m_formats;
    QStringList m_broken;
    mutable std::optional<Sizes> m_sizes;
    mutable HeightForWidth m_heights;
};
