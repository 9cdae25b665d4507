// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Widgets.h"

#include "ui/Theme.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTextDocument>
#include <QToolButton>
#include <QVariant>

namespace moorix::Widgets {

namespace {

QString roleName(TextRole role)
{
    switch (role) {
    case TextRole::muted:
        return QStringLiteral("muted");
    case TextRole::section:
        return QStringLiteral("section");
    case TextRole::heading:
        return QStringLiteral("heading");
    case TextRole::headline:
        return QStringLiteral("headline");
    case TextRole::monospace:
        return QStringLiteral("monospace");
    case TextRole::error:
        return QStringLiteral("error");
    case TextRole::body:
        break;
    }
    return QStringLiteral("body");
}

} // namespace

QLabel *label(const QString &text, TextRole role, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setProperty("role", roleName(role));
    if (role == TextRole::monospace)
        label->setFont(Theme::monospace());
    return label;
}

QPushButton *button(const QString &text, const QString &objectName, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

QPushButton *primaryButton(const QString &text, const QString &objectName, QWidget *parent)
{
    QPushButton *made = button(text, objectName, parent);
    made->setProperty("role", QStringLiteral("primary"));
    return made;
}

QToolButton *iconButton(const QString &iconName, const QString &toolTip, const QString &objectName, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(objectName);
    button->setIcon(Theme::icon(iconName));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAutoRaise(true);
    return button;
}

QString toolTip(const QString &text)
{
    return Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
}

QFrame *separator(QWidget *parent)
{
    auto *line = new QFrame(parent);
    line->setFixedHeight(1);
    line->setProperty("role", QStringLiteral("separator"));
    return line;
}

void setStyleProperty(QWidget &widget, const char *name, const QVariant &value)
{
    if (widget.property(name) == value)
        return;
    widget.setProperty(name, value);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
    widget.update();
}

} // namespace moorix::Widgets
