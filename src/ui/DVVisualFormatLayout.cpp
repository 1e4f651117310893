#include "DVVisualFormatLayout.h"

#include "DVVisualFormatAxis.h"

#include <QWidget>

#include <algorithm>
#include <cmath>

namespace {

// The policy of a view along an axis. A widget with a layout of its own expands when its layout does.
bool expands(const QWidget &view, Qt::Orientation orientation)
{
    const QSizePolicy policy = view.sizePolicy();
    const auto along = orientation == Qt::Horizontal ? policy.horizontalPolicy() : policy.verticalPolicy();
    if ((along & QSizePolicy::GrowFlag) == 0)
        return false;
    if ((along & QSizePolicy::ExpandFlag) != 0)
        return true;
    if (view.layout())
        return (view.layout()->expandingDirections() & orientation) != 0;
    const QSize hint = view.sizeHint();
    return (orientation == Qt::Horizontal ? hint.width() : hint.height()) < 0;
}

bool grows(const QWidget &view, Qt::Orientation orientation)
{
    const QSizePolicy policy = view.sizePolicy();
    return ((orientation == Qt::Horizontal ? policy.horizontalPolicy() : policy.verticalPolicy()) &
            QSizePolicy::GrowFlag) != 0;
}

bool shrinks(const QWidget &view, Qt::Orientation orientation)
{
    const QSizePolicy policy = view.sizePolicy();
    return ((orientation == Qt::Horizontal ? policy.horizontalPolicy() : policy.verticalPolicy()) &
            QSizePolicy::ShrinkFlag) != 0;
}

bool wrapsText(const QWidget &view)
{
    return view.hasHeightForWidth();
}

} // namespace

DVVisualFormatLayout::DVVisualFormatLayout(QWidget *parent)
    : QLayout(parent)
{
    setContentsMargins(0, 0, 0, 0);
}

DVVisualFormatLayout::~DVVisualFormatLayout() = default;

void DVVisualFormatLayout::addView(const QString &key, QWidget *view)
{
    const std::size_t known = numberOf(key);
    addChildWidget(view);
    auto item = std::make_unique<QWidgetItem>(view);
    if (known < m_views.size())
        m_views[known].item = std::move(item);
    else
        m_views.push_back({key, std::move(item)});
    invalidate();
}

void DVVisualFormatLayout::setMetric(const QString &name, double points)
{
    m_metrics.insert(name,
                     std::isfinite(points) ? std::clamp(points, -dv_longestPoints, dv_longestPoints) : 0);
    invalidate();
}

std::size_t DVVisualFormatLayout::numberOf(const QString &key) const
{
    const auto found = std::find_if(m_views.begin(), m_views.end(),
                                    [&](const View &view) { return !key.isNull() && view.key == key; });
    return std::size_t(found - m_views.begin());
}

QString DVVisualFormatLayout::reasonAgainst(const DVLengthRule &rule, bool ofView) const
{
    if (rule.name.isNull() || m_metrics.contains(rule.name))
        return {};
    if (!ofView || numberOf(rule.name) == m_views.size())
        return QStringLiteral("\"%1\" is no metric%2")
            .arg(rule.name, ofView ? QStringLiteral(" and no view") : QString());
    if (rule.relation != DVLengthRule::Equal)
        return QStringLiteral("a view can be as long as \"%1\", but not compared to it otherwise")
            .arg(rule.name);
    return {};
}

QString DVVisualFormatLayout::reasonAgainst(const DVVisualFormat &format) const
{
    for (const DVVisualFormat::View &view : format.views) {
        if (numberOf(view.key) == m_views.size())
            return QStringLiteral("there is no view \"%1\"").arg(view.key);
        for (const DVLengthRule &rule : view.rules) {
            if (const QString reason = reasonAgainst(rule, true); !reason.isNull())
                return reason;
        }
    }
    for (const DVVisualFormat::Gap &gap : format.gaps) {
        for (const DVLengthRule &rule : gap.rules) {
            if (const QString reason = reasonAgainst(rule, false); !reason.isNull())
                return reason;
        }
    }
    return {};
}

DVErrorOr DVVisualFormatLayout::addFormats(const QStringList &formats)
{
    QList<Format> parsed;
    for (const QString &text : formats) {
        Format format{text, {}};
        if (const DVErrorOr error = DVVisualFormat::parse(text, format.parsed))
            return error;
        if (const QString reason = reasonAgainst(format.parsed); !reason.isNull())
            return dv_visualFormatError(text, reason);
        parsed.append(format);
    }
    m_formats += parsed;
    invalidate();
    return {};
}

void DVVisualFormatLayout::removeFormats()
{
    m_formats.clear();
    invalidate();
}

DVVisualFormatLayout::Axis DVVisualFormatLayout::axis(Qt::Orientation orientation,
                                                      const QList<int> &widths) const
{
    QList<Format> formats;
    std::copy_if(m_formats.begin(), m_formats.end(), std::back_inserter(formats), [&](const Format &format) {
        // A view may have died or been taken since: what speaks of it is void.
        return format.parsed.orientation == orientation && reasonAgainst(format.parsed).isNull();
    });
    QHash<QString, std::size_t> keys;
    QList<Axis::Length> lengths;
    for (const View &view : m_views) {
        keys.insert(view.key, std::size_t(lengths.size()));
        const QWidget &widget = *view.item->widget();
        const auto along = [&](QSize size) {
            return orientation == Qt::Horizontal ? size.width() : size.height();
        };
        Axis::Length length{std::max(0, along(widget.sizeHint())), 0, grows(widget, orientation),
                            expands(widget, orientation)};
        const bool wraps = orientation == Qt::Vertical && !widths.isEmpty() && wrapsText(widget);
        if (wraps)
            length.natural = std::max(0, widget.heightForWidth(widths[lengths.size()]));
        const bool firm = wraps || !shrinks(widget, orientation);
        length.least =
            std::max(along(widget.minimumSize()), firm ? length.natural : along(widget.minimumSizeHint()));
        length.natural =
            std::clamp(length.natural, length.least, std::max(length.least, along(widget.maximumSize())));
        lengths.append(length);
    }
    return Axis(formats, keys, lengths, m_metrics);
}

QList<int> DVVisualFormatLayout::widthsFor(int width) const
{
    QList<int> widths;
    for (const Axis::Place &place : axis(Qt::Horizontal).placed(width))
        widths.append(place.length);
    return widths;
}

const DVVisualFormatLayout::Sizes &DVVisualFormatLayout::sizes() const
{
    if (!m_sizes) {
        const Axis across = axis(Qt::Horizontal);
        const int width = across.naturalLength();
        const Axis along = axis(Qt::Vertical, widthsFor(width));
        const QSize margins(contentsMargins().left() + contentsMargins().right(),
                            contentsMargins().top() + contentsMargins().bottom());
        m_sizes = Sizes{QSize(width, along.naturalLength()) + margins,
                        QSize(across.leastLength(), axis(Qt::Vertical).leastLength()) + margins};
    }
    return *m_sizes;
}

QSize DVVisualFormatLayout::sizeHint() const
{
    return sizes().natural;
}

QSize DVVisualFormatLayout::minimumSize() const
{
    return sizes().least;
}

bool DVVisualFormatLayout::hasHeightForWidth() const
{
    return std::any_of(m_views.begin(), m_views.end(),
                       [](const View &view) { return wrapsText(*view.item->widget()); });
}

const DVVisualFormatLayout::HeightForWidth &DVVisualFormatLayout::heights(int width) const
{
    if (m_heights.width != width) {
        const QMargins margins = contentsMargins();
        const Axis along = axis(Qt::Vertical, widthsFor(width - margins.left() - margins.right()));
        const int surplus = margins.top() + margins.bottom();
        m_heights = {width, along.naturalLength() + surplus, along.leastLength() + surplus};
    }
    return m_heights;
}

int DVVisualFormatLayout::heightForWidth(int width) const
{
    return heights(width).natural;
}

int DVVisualFormatLayout::minimumHeightForWidth(int width) const
{
    return heights(width).least;
}

Qt::Orientations DVVisualFormatLayout::expandingDirections() const
{
    Qt::Orientations directions;
    for (const View &view : m_views) {
        for (const Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical}) {
            if (expands(*view.item->widget(), orientation))
                directions |= orientation;
        }
    }
    return directions;
}

void DVVisualFormatLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    const QRect inner = rect.marginsRemoved(contentsMargins());
    Axis across = axis(Qt::Horizontal);
    const QList<Axis::Place> columns = across.placed(inner.width());
    QList<int> widths;
    for (const Axis::Place &column : columns)
        widths.append(column.length);
    Axis along = axis(Qt::Vertical, widths);
    const QList<Axis::Place> rows = along.placed(inner.height());
    m_broken = across.brokenFormats() + along.brokenFormats();

    const bool mirrored = parentWidget() && parentWidget()->layoutDirection() == Qt::RightToLeft;
    for (std::size_t i = 0; i < m_views.size(); ++i) {
        const Axis::Place &column = columns[qsizetype(i)];
        const Axis::Place &row = rows[qsizetype(i)];
        const int left = mirrored ? inner.width() - column.start - column.length : column.start;
        m_views[i].item->widget()->setGeometry(inner.x() + left, inner.y() + row.start, column.length,
                                               row.length);
    }
}

void DVVisualFormatLayout::invalidate()
{
    m_sizes.reset();
    m_heights = {};
    QLayout::invalidate();
}

void DVVisualFormatLayout::addItem(QLayoutItem *item)
{
    std::unique_ptr<QLayoutItem> owned(item);
    if (!owned->widget())
        return;
    m_views.push_back({QString(), std::move(owned)});
    invalidate();
}

QLayoutItem *DVVisualFormatLayout::itemAt(int index) const
{
    return index >= 0 && index < count() ? m_views[std::size_t(index)].item.get() : nullptr;
}

QLayoutItem *DVVisualFormatLayout::takeAt(int index)
{
    if (index < 0 || index >= count())
        return nullptr;
    QLayoutItem *item = m_views[std::size_t(index)].item.release();
    m_views.erase(m_views.begin() + index);
    invalidate();
    return item;
}
