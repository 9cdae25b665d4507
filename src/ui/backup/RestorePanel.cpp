// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/RestorePanel.h"

#include "platform/AppPaths.h"
#include "ui/ComboBox.h"
#include "ui/Widgets.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

RestorePanel::RestorePanel(const QString &folder, QWidget *parent)
    : QFrame(parent)
    , m_folder(new QLineEdit(folder, this))
    , m_policy(new ComboBox(this))
    , m_selected(Widgets::primaryButton(tr("Restore selected"), u"restoreSelected"_s, this))
    , m_how(new QBoxLayout(QBoxLayout::LeftToRight))
{
    setObjectName(u"restorePanel"_s);
    m_folder->setObjectName(u"restoreFolder"_s);
    m_folder->setAccessibleName(tr("Folder to restore to"));
    m_policy->setObjectName(u"restorePolicy"_s);
    m_policy->setAccessibleName(tr("What becomes of files that are there already"));
    m_policy->addItem(tr("Keep what is there"), int(TransferConflictPolicy::skip));
    m_policy->addItem(tr("Keep both"), int(TransferConflictPolicy::rename));
    m_policy->addItem(tr("Overwrite what is there"), int(TransferConflictPolicy::overwrite));
    QPushButton *choose = Widgets::button(tr("Browse…"), u"restoreBrowse"_s, this);
    QPushButton *all = Widgets::button(tr("Restore all"), u"restoreAll"_s, this);
    const auto label = [this](const QString &text) {
        QLabel *made = Widgets::label(text, TextRole::muted, this);
        made->setWordWrap(false);
        return made;
    };
    auto *where = new QHBoxLayout;
    where->addWidget(label(tr("To")));
    where->addWidget(m_folder, 1);
    where->addWidget(choose);
    auto *conflicts = new QHBoxLayout;
    conflicts->addWidget(label(tr("Where a file exists:")));
    conflicts->addWidget(m_policy);
    conflicts->addStretch(1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(all);
    buttons->addWidget(m_selected);
    m_how->addLayout(conflicts, 1);
    m_how->addLayout(buttons);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(24, 10, 24, 12);
    column->setSpacing(8);
    column->addLayout(where);
    column->addLayout(m_how);
    setSelected(0);
    connect(choose, &QPushButton::clicked, this, &RestorePanel::browse);
    connect(all, &QPushButton::clicked, this, &RestorePanel::restoreAllRequested);
    connect(m_selected, &QPushButton::clicked, this, &RestorePanel::restoreSelectedRequested);
}

/// In a narrow window the buttons stand beneath.
void RestorePanel::resizeEvent(QResizeEvent *event)
{
    constexpr int narrow = 640;
    m_how->setDirection(width() < narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    QFrame::resizeEvent(event);
}

QSize RestorePanel::minimumSizeHint() const
{
    return {0, QFrame::minimumSizeHint().height()};
}

QString RestorePanel::folder() const
{
    return AppPaths::expandTilde(m_folder->text().trimmed());
}

TransferConflictPolicy RestorePanel::policy() const
{
    return TransferConflictPolicy(m_policy->currentData().toInt());
}

void RestorePanel::setSelected(qsizetype count)
{
    m_selected->setEnabled(count > 0);
}

void RestorePanel::browse()
{
    auto *dialog = new QFileDialog(this, tr("Folder to restore to"), AppPaths::home());
    dialog->setObjectName(u"restoreFolderDialog"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    connect(dialog, &QFileDialog::fileSelected, m_folder, &QLineEdit::setText);
    dialog->open();
}

} // namespace moorix
