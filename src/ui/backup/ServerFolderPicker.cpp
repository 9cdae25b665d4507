// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/ServerFolderPicker.h"

#include "app/AppModel.h"
#include "app/ServerConnections.h"
#include "files/Format.h"
#include "files/RemoteFileService.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

namespace {

QStringList foldersIn(const QList<FileItem> &items)
{
    QStringList names;
    for (const FileItem &item : items) {
        if (item.isShownAsFolder() && item.name != u"." && item.name != u"..")
            names << item.name;
    }
    std::ranges::sort(names, [](const QString &a, const QString &b) { return a.localeAwareCompare(b) < 0; });
    return names;
}

} // namespace

ServerFolderPicker::ServerFolderPicker(AppModel &model, QWidget *parent)
    : QFrame(parent)
    , m_model(model)
    , m_path(Widgets::label({}, TextRole::monospace, this))
    , m_state(Widgets::label({}, TextRole::muted, this))
    , m_folders(new QListWidget(this))
    , m_choose(Widgets::primaryButton(tr("Choose this folder"), u"pickerChoose"_s, this))
    , m_retry(Widgets::button(tr("Try again"), u"pickerRetry"_s, this))
{
    setObjectName(u"serverFolderPicker"_s);
    setProperty("role", u"card"_s);
    m_state->setObjectName(u"pickerState"_s);
    m_folders->setObjectName(u"pickerFolders"_s);
    m_folders->setAccessibleName(tr("Folders of the server"));
    m_folders->setFixedHeight(150);
    m_folders->setTabKeyNavigation(false);
    QPushButton *cancel = Widgets::button(tr("Cancel"), u"pickerCancel"_s, this);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_state, 1);
    buttons->addWidget(m_retry);
    buttons->addWidget(cancel);
    buttons->addWidget(m_choose);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 10);
    column->addWidget(m_path);
    column->addWidget(m_folders);
    column->addLayout(buttons);
    hide();
    connect(m_folders, &QListWidget::itemActivated, this, &ServerFolderPicker::enterCurrent);
    connect(m_retry, &QPushButton::clicked, this, [this] { open(m_server, m_folder); });
    connect(cancel, &QPushButton::clicked, this, &ServerFolderPicker::close);
    connect(m_choose, &QPushButton::clicked, this, [this] {
        const QString folder = m_folder;
        close();
        emit chosen(folder);
    });
}

ServerFolderPicker::~ServerFolderPicker() = default;

void ServerFolderPicker::open(const ServerConnection &server, const QString &path)
{
    m_server = server;
    m_service.reset();
    m_folder = path;
    m_folders->clear();
    m_choose->setEnabled(false);
    m_retry->hide();
    m_path->setText(Format::display(path));
    m_state->setText(tr("Connecting to %1…").arg(server.displayName()));
    Widgets::setStyleProperty(*m_state, "role", u"muted"_s);
    QFrame::show();
    m_folders->setFocus();
    m_job = m_model.connections().open(
        server, std::nullopt,
        [this, path](const OpenConnection &opened) {
            m_service = opened.service;
            load(path.isEmpty() ? opened.startPath : path);
        },
        [this](const Error &error) { fail(error.message()); });
}

void ServerFolderPicker::close()
{
    m_job.cancel();
    m_service.reset();
    hide();
}

void ServerFolderPicker::load(const QString &path)
{
    m_state->setText(tr("Reading %1…").arg(Format::display(path)));
    Widgets::setStyleProperty(*m_state, "role", u"muted"_s);
    m_choose->setEnabled(false);
    m_job = runJob(
        [service = m_service, path](const std::stop_token &stop) {
            return foldersIn(service->list(path, HiddenFiles::asTheSourceDoes, stop));
        },
        [this, path](const QStringList &folders) { show(path, folders); },
        [this](const Error &error) { fail(error.message()); });
}

void ServerFolderPicker::show(const QString &path, const QStringList &folders)
{
    m_folder = path;
    m_path->setText(Format::display(path));
    m_state->setText(folders.isEmpty() ? tr("No folders in it.") : QString());
    m_retry->hide();
    m_choose->setEnabled(true);
    m_folders->clear();
    if (path != u"/")
        new QListWidgetItem(Theme::icon(u"go-up"_s), tr("Folder above"), m_folders);
    for (const QString &name : folders) {
        auto *item =
            new QListWidgetItem(Theme::icon(u"folder"_s, Theme::Color::folder), Format::display(name), m_folders);
        item->setData(Qt::UserRole, name);
    }
    m_folders->setCurrentRow(0);
}

void ServerFolderPicker::fail(const QString &sentence)
{
    m_state->setText(sentence);
    Widgets::setStyleProperty(*m_state, "role", u"error"_s);
    m_retry->show();
    // What is shown is the folder that was read last.
    m_choose->setEnabled(false);
}

void ServerFolderPicker::enterCurrent()
{
    const QListWidgetItem *item = m_folders->currentItem();
    if (!item || !m_service)
        return;
    const QString name = item->data(Qt::UserRole).toString();
    load(name.isEmpty() ? Format::parent(m_folder) : Format::join(m_folder, name));
}

void ServerFolderPicker::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else if (event->key() == Qt::Key_Backspace && m_service)
        load(Format::parent(m_folder));
    else
        QFrame::keyPressEvent(event);
}

} // namespace moorix
