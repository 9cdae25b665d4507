// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/MonitorCard.h"

#include "ui/ElidedLabel.h"
#include "ui/Widgets.h"

#include <QLabel>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

MonitorCard::MonitorCard(const QString &title, const QString &objectName, QWidget *parent)
    : QFrame(parent)
    , m_value(new ElidedLabel(Qt::ElideRight, this))
    , m_details(new ElidedLabel(Qt::ElideRight, this))
    , m_alert(Widgets::label({}, TextRole::body, this))
    , m_column(new QVBoxLayout(this))
{
    setObjectName(objectName);
    setProperty("role", u"card"_s);
    auto *name = new ElidedLabel(Qt::ElideRight, this);
    name->setText(title);
    name->setProperty("role", u"muted"_s);
    name->setObjectName(u"cardTitle"_s);
    m_value->setObjectName(u"cardValue"_s);
    m_value->setProperty("role", u"headline"_s);
    m_details->setObjectName(u"cardDetails"_s);
    m_details->setProperty("role", u"muted"_s);
    m_alert->setObjectName(u"cardAlert"_s);
    m_alert->setProperty("tone", u"warning"_s);
    m_column->setContentsMargins(14, 11, 14, 13);
    m_column->setSpacing(3);
    m_column->addWidget(name);
    m_column->addWidget(m_value);
    m_column->addWidget(m_details);
    m_column->addWidget(m_alert);
    m_value->hide();
    m_details->hide();
    m_alert->hide();
}

void MonitorCard::setValue(const QString &value)
{
    m_value->setText(value);
    m_value->setVisible(!value.isEmpty());
}

void MonitorCard::setDetails(const QString &details)
{
    m_details->setText(details);
    m_details->setVisible(!details.isEmpty());
}

void MonitorCard::setAlert(const QString &sentence)
{
    m_alert->setText(sentence);
    m_alert->setVisible(!sentence.isEmpty());
}

void MonitorCard::addContent(QWidget *content, int stretch)
{
    m_column->addSpacing(6);
    m_column->addWidget(content, stretch);
}

} // namespace moorix
