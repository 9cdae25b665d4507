// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of an archive's page.
#include "ui/backup/ArchiveView.h"

#include "app/AppModel.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "servers/ServerStore.h"
#include "ui/MessageBar.h"
#include "ui/RoomyDelegate.h"
#include "ui/Widgets.h"
#include "ui/backup/ArchiveTreeModel.h"
#include "ui/backup/PassphrasePrompt.h"
#include "ui/backup/RestorePanel.h"
#include "ui/backup/WorkBar.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

ArchiveView::ArchiveView(AppModel &model, ArchivePlace place, Task task, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_place(std::move(place))
    , m_task(task)
    , m_source(model)
    , m_message(new MessageBar(this))
    , m_work(new WorkBar(this))
    , m_entries(new ArchiveTreeModel(this))
{
    setObjectName(u"archiveView"_s);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_message);
    column->addWidget(m_work);
    column->addWidget(makeWaiting(), 1);
    column->addWidget(makeContent(), 1);
    connect(m_work, &WorkBar::cancelled, this, [this] { m_stop.request_stop(); });
    open();
}

ArchiveView::~ArchiveView() = default;

QWidget *ArchiveView::makeHeader()
{
    auto *header = new QWidget(this);
    QToolButton *back = Widgets::iconButton(u"go-previous-view"_s, tr("Back (Esc)"), u"backupBack"_s, header);
    const auto server = m_place.server ? m_model.servers().server(*m_place.server) : std::nullopt;
    const QString folder = Format::display(Format::parent(m_place.path));
    m_verify = Widgets::button(tr("Verify"), u"archiveVerify"_s, header);
    m_verify->setToolTip(tr("Reads everything in it and tells whether it is whole"));
    m_decrypt = Widgets::button(tr("Decrypt && Save…"), u"archiveDecrypt"_s, header);
    m_decrypt->setVisible(m_place.isEncrypted());
    auto *words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(Widgets::label(Format::display(m_place.name()), TextRole::headline, header));
    words->addWidget(Widgets::label(
        server ? tr("%1 on %2").arg(folder, Format::display(server->displayName())) : folder, TextRole::muted, header));
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(16, 14, 24, 12);
    row->addWidget(back, 0, Qt::AlignTop);
    row->addLayout(words, 1);
    row->addWidget(m_verify);
    row->addWidget(m_decrypt);
    connect(back, &QToolButton::clicked, this, &ArchiveView::closed);
    connect(m_verify, &QPushButton::clicked, this, &ArchiveView::verify);
    connect(m_decrypt, &QPushButton::clicked, this, &ArchiveView::chooseForDecryption);
    return header;
}

/// What stands there until the archive is open.
QWidget *ArchiveView::makeWaiting()
{
    m_waiting = new QWidget(this);
    m_failure = Widgets::label({}, TextRole::body, m_waiting);
    m_failure->setObjectName(u"archiveFailure"_s);
    m_failure->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Widgets::setStyleProperty(*m_failure, "tone", u"danger"_s);
    m_retry = Widgets::primaryButton(tr("Try again"), u"archiveRetry"_s, m_waiting);
    m_prompt = new PassphrasePrompt(m_waiting);
    auto *column = new QVBoxLayout(m_waiting);
    column->setContentsMargins(52, 12, 24, 24);
    column->setSpacing(12);
    column->addWidget(m_failure);
    column->addWidget(m_retry, 0, Qt::AlignLeft);
    column->addWidget(m_prompt);
    column->addStretch(1);
    connect(m_retry, &QPushButton::clicked, this, &ArchiveView::open);
    connect(m_prompt, &PassphrasePrompt::given, this, [this](const QString &passphrase) {
        m_passphrase = passphrase;
        open();
    });
    return m_waiting;
}

QWidget *ArchiveView::makeContent()
{
    m_content = new QWidget(this);
    m_summary = Widgets::label({}, TextRole::muted, m_content);
    m_summary->setObjectName(u"archiveSummary"_s);
    m_summary->setContentsMargins(24, 8, 24, 8);
    m_tree = new QTreeView(m_content);
    m_tree->setObjectName(u"archiveTree"_s);
    m_tree->setAccessibleName(tr("Files in the archive"));
    m_tree->setModel(m_entries);
    for (const int column : {1, 2})
        m_tree->setItemDelegateForColumn(column, new RoomyDelegate(m_tree));
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setUniformRowHeights(true);
    m_tree->setTabKeyNavigation(false);
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tree->header()->resizeSection(1, 110);
    m_tree->header()->resizeSection(2, 190);
    QString folder = AppPaths::home() + u"/Restored"_s;
    m_restore = new RestorePanel(folder, m_content);
    auto *column = new QVBoxLayout(m_content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_summary);
    column->addWidget(m_tree, 1);
    column->addWidget(m_restore);
    m_content->hide();
    connect(m_tree->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        qsizetype rows = 0;
        for (const QItemSelectionRange &range : m_tree->selectionModel()->selection())
            rows += range.height();
        m_restore->setSelected(rows);
    });
    connect(m_restore, &RestorePanel::restoreAllRequested, this, [this] { restore({}); });
    connect(m_restore, &RestorePanel::restoreSelectedRequested, this, [this] { restore(selectedPaths()); });
    return m_content;
}

} // namespace moorix
