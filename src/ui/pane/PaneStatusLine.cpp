// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneStatusLine.h"

#include "files/Format.h"
#include "files/PaneModel.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace moorix {

PaneStatusLine::PaneStatusLine(PaneModel &pane, QWidget *parent)
    : QFrame(parent)
    , m_pane(pane)
    , m_text(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_cancel(Widgets::button(tr("Cancel"), u"statusCancel"_s, this))
{
    setProperty("role", u"statusLine"_s);
    m_text->setObjectName(u"statusLine"_s);
    m_text->setWordWrap(false);
    // A long path is cut off; it must not widen the pane.
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_cancel->setProperty("role", u"link"_s);
    m_cancel->setFocusPolicy(Qt::TabFocus);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(14, 0, 8, 0);
    row->addWidget(m_text, 1);
    row->addWidget(m_cancel);
    setFixedHeight(26);

    m_soon.setSingleShot(true);
    connect(&m_soon, &QTimer::timeout, this, &PaneStatusLine::showState);
    m_patience.setSingleShot(true);
    m_patience.setInterval(150ms);
    connect(&m_patience, &QTimer::timeout, this, &PaneStatusLine::showState);
    const auto soon = [this] { m_soon.start(0); };
    connect(&pane, &PaneModel::displayedChanged, this, soon);
    connect(&pane, &PaneModel::selectionChanged, this, soon);
    connect(&pane, &PaneModel::operationChanged, this, soon);
    connect(&pane, &PaneModel::isLoadingChanged, this, [this] {
        m_patience.start();
        m_soon.start(0);
        if (!m_pane.isLoading())
            askForFreeSpace();
    });
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        if (m_pane.operation())
            m_pane.cancelOperation();
        else
            m_pane.cancelLoading();
    });
    askForFreeSpace();
    showState();
}

void PaneStatusLine::showState()
{
    const bool isWaiting = m_pane.isLoading() && !m_patience.isActive();
    m_cancel->setVisible(isWaiting || m_pane.operation());
    if (m_pane.operation())
        m_text->setText(tr("%1…").arg(*m_pane.operation()));
    else if (isWaiting)
        m_text->setText(tr("Listing %1…").arg(Format::display(m_pane.loadingPath())));
    else
        m_text->setText(summary());
}

QString PaneStatusLine::summary() const
{
    if (m_pane.currentPath().isEmpty())
        return {};
    QStringList parts;
    const qsizetype shown = m_pane.displayedCount();
    if (const QList<FileItem> selected = m_pane.selectedItems(); !selected.isEmpty()) {
        qint64 bytes = 0;
        bool hasFiles = false;
        for (const FileItem &item : selected) {
            bytes += item.isShownAsFolder() ? 0 : item.size;
            hasFiles = hasFiles || !item.isShownAsFolder();
        }
        parts << tr("%L1 of %L2 selected").arg(selected.size()).arg(shown);
        if (hasFiles)
            parts << Format::byteCount(bytes);
    } else {
        parts << (shown == 1 ? tr("1 item") : tr("%Ln items", nullptr, int(shown)));
    }
    if (m_freeSpace)
        parts << tr("%1 free").arg(Format::byteCount(*m_freeSpace));
    return parts.join(u" · "_s);
}

void PaneStatusLine::askForFreeSpace()
{
    // A server answers with a command of its own each time: once per folder is enough.
    const bool isKnown = m_freeSpacePath == m_pane.currentPath() && !m_pane.isLocal();
    if (m_pane.currentPath().isEmpty() || isKnown)
        return;
    m_freeSpacePath = m_pane.currentPath();
    const auto show = [this](const std::optional<qint64> &bytes) {
        m_freeSpace = bytes;
        m_soon.start(0);
    };
    m_freeSpaceJob = runJob([service = m_pane.service(), path = m_pane.currentPath()](
                                const std::stop_token &stop) { return service->freeSpace(path, stop); },
                            show, [show](const Error &) { show(std::nullopt); });
}

} // namespace moorix
