// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TintedIconEngine.h"

#include <QIconEngine>
#include <QPainter>

namespace moorix {

namespace {

/// An engine that makes its pixmaps from other icons for each size, scale and mode, whenever they are asked for.
class ComposedIconEngine : public QIconEngine
{
public:
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        const qreal scale = painter->device() ? painter->device()->devicePixelRatio() : 1.0;
        painter->drawPixmap(rect, compose(rect.size(), scale, mode));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override { return compose(size, 1.0, mode); }

    void virtual_hook(int id, void *data) override
    {
        if (id != QIconEngine::ScaledPixmapHook) {
            QIconEngine::virtual_hook(id, data);
            return;
        }
        auto &request = *static_cast<QIconEngine::ScaledPixmapArgument *>(data);
        request.pixmap = compose(request.size / request.scale, request.scale, request.mode);
    }

private:
    /// `size` in device-independent pixels.
    virtual QPixmap compose(const QSize &size, qreal scale, QIcon::Mode mode) const = 0;
};

QPixmap emptyPixmap(const QSize &size, qreal scale)
{
    QPixmap pixmap(size * scale);
    pixmap.setDevicePixelRatio(scale);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

class TintedIconEngine final : public ComposedIconEngine
{
public:
    TintedIconEngine(QIcon shape, Theme::Color role)
        : m_shape(std::move(shape))
        , m_role(role)
    {
    }

    QIconEngine *clone() const override { return new TintedIconEngine(m_shape, m_role); }
    QString iconName() override { return m_shape.name(); }

private:
    QPixmap compose(const QSize &size, qreal scale, QIcon::Mode mode) const override
    {
        QPixmap pixmap = emptyPixmap(size, scale);
        QPainter painter(&pixmap);
        // Asked for by its painter, a theme's icon would be the one of twice the size on a fine screen, which is drawn
        // for other places.
        painter.drawPixmap(QRect(QPoint(), size), m_shape.pixmap(size, scale));
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        QColor color = Theme::color(m_role);
        if (mode == QIcon::Disabled)
            color.setAlphaF(0.35F);
        painter.fillRect(QRect(QPoint(), size), color);
        return pixmap;
    }

    QIcon m_shape;
    Theme::Color m_role;
};

/// A theme's icon in the drawing made for its size, however fine the screen is.
class SharpIconEngine final : public ComposedIconEngine
{
public:
    explicit SharpIconEngine(QIcon icon)
        : m_icon(std::move(icon))
    {
    }

    QIconEngine *clone() const override { return new SharpIconEngine(m_icon); }
    QString iconName() override { return m_icon.name(); }

private:
    QPixmap compose(const QSize &size, qreal scale, QIcon::Mode mode) const override
    {
        return m_icon.pixmap(size, scale, mode);
    }

    QIcon m_icon;
};

class LinkIconEngine final : public ComposedIconEngine
{
public:
    explicit LinkIconEngine(QIcon icon)
        : m_icon(std::move(icon))
    {
    }

    QIconEngine *clone() const override { return new LinkIconEngine(m_icon); }

private:
    QPixmap compose(const QSize &size, qreal scale, QIcon::Mode mode) const override
    {
        QPixmap pixmap = emptyPixmap(size, scale);
        QPainter painter(&pixmap);
        m_icon.paint(&painter, QRect(QPoint(), size), Qt::AlignCenter, mode);
        painter.setRenderHint(QPainter::Antialiasing);
        // In sixteenths of the icon: a gap around the arrow keeps it apart from what is below.
        painter.scale(size.width() / 16.0, size.height() / 16.0);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.drawRoundedRect(QRectF(7, 7, 10, 10), 2, 2);
        painter.fillRect(QRectF(7.5, 7.5, 9, 9), Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.setPen(QPen(Theme::color(Theme::Color::accent), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawLine(QPointF(9.5, 14.5), QPointF(14.5, 9.5));
        painter.drawPolyline(QPolygonF{{10.5, 9.5}, {14.5, 9.5}, {14.5, 13.5}});
        return pixmap;
    }

    QIcon m_icon;
};

} // namespace

QIcon tinted(const QIcon &shape, Theme::Color role)
{
    return QIcon(new TintedIconEngine(shape, role));
}

QIcon sharp(const QIcon &icon)
{
    return QIcon(new SharpIconEngine(icon));
}

QIcon asLink(const QIcon &icon)
{
    return QIcon(new LinkIconEngine(icon));
}

QIcon Theme::icon(const QString &name, Color role)
{
    const QIcon plain =
        QIcon::fromTheme(QStringLiteral("text-plain"), QIcon::fromTheme(QStringLiteral("text-x-generic")));
    return tinted(QIcon::fromTheme(name, plain), role);
}

} // namespace moorix
