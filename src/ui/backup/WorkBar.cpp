// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/WorkBar.h"

#include "ui/ElidedLabel.h"
#include "ui/Widgets.h"
#include "ui/backup/BackupText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace moorix {

using namespace Qt::StringLiterals;

WorkBar::WorkBar(QWidget *parent)
    : QFrame(parent)
    , m_text(new ElidedLabel(Qt::ElideMiddle, this))
    , m_amount(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_bar(new QProgressBar(this))
    , m_cancel(Widgets::button(tr("Cancel"), u"workCancel"_s, this))
{
    setObjectName(u"workBar"_s);
    m_text->setObjectName(u"workText"_s);
    m_amount->setWordWrap(false);
    m_bar->setTextVisible(false);
    m_bar->setFixedWidth(200);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(24, 8, 24, 8);
    row->setSpacing(12);
    row->addWidget(m_text, 1);
    row->addWidget(m_amount);
    row->addWidget(m_bar);
    row->addWidget(m_cancel);
    hide();
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        m_cancel->setEnabled(false);
        m_text->setText(tr("Stopping…"));
        emit cancelled();
    });
}

void WorkBar::begin(const QString &text)
{
    m_text->setText(text);
    m_cancel->setEnabled(true);
    advance(0, 0);
    show();
}

void WorkBar::advance(qint64 done, qint64 total)
{
    m_amount->setText(BackupText::amount(done, total));
    m_bar->setRange(0, total > 0 ? 1000 : 0);
    if (total > 0)
        m_bar->setValue(int(1000.0 * double(done) / double(total)));
}

void WorkBar::end()
{
    hide();
}

} // namespace moorix
