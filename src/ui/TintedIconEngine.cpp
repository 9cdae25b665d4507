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
        m_shape.paint(&painter, QRect(QPoint(), size));
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

class EmblemIconEngine final : public ComposedIconEngine
{
public:
    EmblemIconEngine(QIcon icon, QIcon emblem)
        : m_icon(std::move(icon))
        , m_emblem(std::move(emblem))
    {
    }

    QIconEngine *clone() const override { return new EmblemIconEngine(m_icon, m_emblem); }

private:
    QPixmap compose(const QSize &size, qreal scale, QIcon::Mode mode) const override
    {
        QPixmap pixmap = emptyPixmap(size, scale);
        QPainter painter(&pixmap);
        m_icon.paint(&painter, QRect(QPoint(), size), Qt::AlignCenter, mode);
        const QRect corner(size.width() / 2, size.height() / 2, (size.width() + 1) / 2, (size.height() + 1) / 2);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.fillRect(corner, Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        m_emblem.paint(&painter, corner);
        return pixmap;
    }

    QIcon m_icon;
    QIcon m_emblem;
};

} // namespace

QIcon tinted(const QIcon &shape, Theme::Color role)
{
    return QIcon(new TintedIconEngine(shape, role));
}

QIcon withEmblem(const QIcon &icon, const QIcon &emblem)
{
    return QIcon(new EmblemIconEngine(icon, emblem));
}

QIcon Theme::icon(const QString &name, Color role)
{
    const QIcon plain =
        QIcon::fromTheme(QStringLiteral("text-plain"), QIcon::fromTheme(QStringLiteral("text-x-generic")));
    return tinted(QIcon::fromTheme(name, plain), role);
}

} // namespace moorix
