// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PathEdit.h"

#include "files/Format.h"
#include "files/PaneModel.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QDir>
#include <QKeyEvent>
#include <QStringListModel>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace moorix {

PathEdit::PathEdit(PaneModel &pane, QWidget *parent)
    : QLineEdit(parent)
    , m_pane(pane)
    , m_completer(new QCompleter(this))
    , m_offers(new QStringListModel(this))
{
    setObjectName(u"pathEdit"_s);
    setPlaceholderText(tr("Path of a folder"));
    setAccessibleName(tr("Path of a folder"));
    m_completer->setModel(m_offers);
    m_completer->setCaseSensitivity(pane.isLocal() ? Qt::CaseSensitive : Qt::CaseInsensitive);
    m_completer->setCompletionMode(QCompleter::PopupCompletion);
    m_completer->popup()->setObjectName(u"completionPopup"_s);
    setCompleter(m_completer);
    m_pause.setSingleShot(true);
    m_pause.setInterval(120ms);
    connect(&m_pause, &QTimer::timeout, this, &PathEdit::offerFolders);
    connect(this, &QLineEdit::textEdited, &m_pause, qOverload<>(&QTimer::start));
}

QString PathEdit::path() const
{
    QString typed = text();
    if (m_pane.isLocal() && (typed == u"~" || typed.startsWith(u"~/")))
        typed.replace(0, 1, QDir::homePath());
    if (!typed.startsWith(u'/'))
        typed = Format::join(m_pane.currentPath(), typed);
    while (typed.size() > 1 && typed.endsWith(u'/'))
        typed.chop(1);
    return typed;
}

void PathEdit::offerFolders()
{
    const qsizetype slash = text().lastIndexOf(u'/');
    if (slash < 0)
        return;
    // What is offered must begin as the text does, "~" included; the service needs the real path.
    const QString typedFolder = text().left(slash + 1);
    if (typedFolder == m_listedFolder)
        return;
    QString folder = typedFolder;
    if (m_pane.isLocal() && folder.startsWith(u"~/"))
        folder.replace(0, 1, QDir::homePath());
    if (folder.size() > 1)
        folder.chop(1);
    m_listing = runJob(
        [service = m_pane.service(), folder](const std::stop_token &stop) {
            QStringList names;
            for (const FileItem &item : service->list(folder, HiddenFiles::asTheSourceDoes, stop)) {
                if (item.isDirectory || item.isSymlink)
                    names.append(item.name);
            }
            return names;
        },
        [this, typedFolder](const QStringList &names) { setFolders(typedFolder, names); },
        // No offers for a folder that cannot be read; going there says why.
        [this, typedFolder](const Error &) { setFolders(typedFolder, {}); });
}

/// What is still being listed would open a list over what the keyboard has gone to, and take its keys.
void PathEdit::offerNothing()
{
    m_pause.stop();
    m_listing = {};
    m_completer->popup()->hide();
}

void PathEdit::setFolders(const QString &folder, const QStringList &names)
{
    m_listedFolder = folder;
    QStringList offers;
    offers.reserve(names.size());
    for (const QString &name : names)
        offers.append(folder + name + u'/');
    offers.sort();
    m_offers->setStringList(offers);
    if (hasFocus() && text().startsWith(folder)) {
        m_completer->setCompletionPrefix(text());
        m_completer->complete();
    }
}

void PathEdit::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        offerNothing();
        emit accepted(path());
        break;
    case Qt::Key_Escape:
        offerNothing();
        emit cancelled();
        break;
    default:
        QLineEdit::keyPressEvent(event);
    }
}

/// Tab takes the folder that is offered; the keyboard moves on only when there is none.
bool PathEdit::focusNextPrevChild(bool next)
{
    const bool isOffered = next && m_completer->completionPrefix() == text() && m_completer->completionCount() > 0;
    if (!isOffered)
        return QLineEdit::focusNextPrevChild(next);
    setText(m_completer->currentCompletion());
    m_completer->popup()->hide();
    offerFolders();
    return true;
}

} // namespace moorix
