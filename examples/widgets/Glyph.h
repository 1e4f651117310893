// Glyph: a small round icon beside a text.
#pragma once

#include "GlyphPainting.h"

#include <QWidget>

class Glyph : public QWidget
{
    Q_OBJECT

public:
    explicit Glyph(GlyphShape shape, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    GlyphShape m_shape;
};
