// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/InfoDialog.h"

#include "files/Format.h"
#include "files/PaneModel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/pane/FileFacts.h"
#include "ui/pane/FolderTally.h"
#include "ui/pane/PermissionsEditor.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace moorix {

namespace {

/// The value all items share, or nothing.
template <class Value>
std::optional<Value> common(const QList<FileItem> &items, std::optional<Value> FileItem::*field)
{
    const std::optional<Value> first = items.front().*field;
    const bool isShared = std::ranges::all_of(items, [&](const FileItem &item) { return item.*field == first; });
    return isShared ? first : std::nullopt;
}

QString fileCount(qint64 number)
{
    return number == 1 ? InfoDialog::tr("1 file") : InfoDialog::tr("%Ln files", nullptr, int(number));
}

QString folderCount(qint64 number)
{
    return number == 1 ? InfoDialog::tr("1 folder") : InfoDialog::tr("%Ln folders", nullptr, int(number));
}

QString kindOf(const FileItem &item)
{
    if (item.isSymlink)
        return item.leadsToFolder ? InfoDialog::tr("Symbolic link to a folder") : InfoDialog::tr("Symbolic link");
    return item.isDirectory ? InfoDialog::tr("Folder") : InfoDialog::tr("File");
}

} // namespace

InfoDialog::InfoDialog(PaneModel &pane, QList<FileItem> items, QWidget *parent)
    : QDialog(parent)
    , m_pane(pane)
    , m_items(std::move(items))
    , m_hasFolder(
          std::ranges::any_of(m_items, [](const FileItem &item) { return item.isDirectory && !item.isSymlink; }))
    , m_size(Widgets::label({}, Widgets::TextRole::body, this))
    , m_count(Widgets::button({}, u"infoCount"_s, this))
    , m_permissions(new PermissionsEditor(this))
    , m_recursive(new QCheckBox(tr("Apply to everything inside"), this))
    , m_apply(Widgets::primaryButton(tr("Apply"), u"infoApply"_s, this))
    , m_tally(std::make_shared<FolderTally>())
{
    setObjectName(u"infoDialog"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(m_items.size() == 1 ? tr("Info: %1").arg(Format::display(m_items.front().name))
                                       : tr("Info: %Ln items", nullptr, int(m_items.size())));
    setMinimumWidth(420);
    resize(minimumSize());
    auto *form = new QFormLayout(this);
    form->setContentsMargins(20, 18, 20, 18);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(9);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(makeHead());
    form->addRow(Widgets::separator(this));
    addFacts(*form);
    form->addRow(Widgets::separator(this));
    form->addRow(makePermissions());

    m_tallyTimer.setInterval(200ms);
    connect(&m_tallyTimer, &QTimer::timeout, this, [this] { showTally(false); });
    connect(m_count, &QPushButton::clicked, this, [this] {
        if (m_tallyTimer.isActive())
            stopCounting();
        else
            startCounting();
    });
    fitHeight();
    // On a server every folder costs a command: there it is counted when asked for.
    if (!m_hasFolder || m_pane.isLocal())
        startCounting();
}

InfoDialog::~InfoDialog() = default;

void InfoDialog::open(PaneModel &pane, const QList<FileItem> &items, QWidget *parent)
{
    auto *dialog = new InfoDialog(pane, items, parent);
    dialog->show();
}

QWidget *InfoDialog::makeHead()
{
    auto *head = new QWidget(this);
    auto *icon = new QLabel(head);
    icon->setPixmap(Theme::fileIcon(m_items.front()).pixmap(QSize(22, 22), devicePixelRatioF()));
    QLabel *name = Widgets::label(m_items.size() == 1 ? Format::display(m_items.front().name)
                                                      : tr("%Ln items", nullptr, int(m_items.size())),
                                  Widgets::TextRole::heading, head);
    name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *row = new QHBoxLayout(head);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(10);
    row->addWidget(icon);
    row->addWidget(name, 1);
    return head;
}

void InfoDialog::addFacts(QFormLayout &form)
{
    const auto add = [&](const QString &label, const QString &text) {
        QLabel *value = Widgets::label(text, Widgets::TextRole::body, this);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        form.addRow(Widgets::label(label, Widgets::TextRole::muted, this), value);
    };
    if (m_items.size() == 1) {
        add(tr("Kind"), kindOf(m_items.front()));
        add(tr("Path"), Format::display(m_items.front().path));
    } else {
        add(tr("In"), Format::display(m_pane.currentPath()));
    }
    form.addRow(Widgets::label(tr("Size"), Widgets::TextRole::muted, this), makeSize());
    if (common(m_items, &FileItem::modified))
        add(tr("Modified"), FileFacts::modifiedInFull(m_items.front(), m_pane.isLocal()));
    if (const auto owner = common(m_items, &FileItem::ownerName))
        add(tr("Owner"), *owner);
}

QWidget *InfoDialog::makeSize()
{
    auto *place = new QWidget(this);
    m_size->setObjectName(u"infoSize"_s);
    m_count->setProperty("role", u"link"_s);
    m_count->setText(tr("Count"));
    m_count->setVisible(m_hasFolder);
    auto *row = new QHBoxLayout(place);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_size, 1);
    row->addWidget(m_count);
    return place;
}

QWidget *InfoDialog::makePermissions()
{
    auto *place = new QWidget(this);
    auto *column = new QVBoxLayout(place);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    m_permissions->setPermissions(common(m_items, &FileItem::permissions));
    m_recursive->setObjectName(u"infoRecursive"_s);
    m_recursive->setVisible(m_hasFolder);
    m_apply->setEnabled(false);
    auto *close = Widgets::button(tr("Close"), u"infoClose"_s, place);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(close);
    buttons->addWidget(m_apply);
    column->addWidget(Widgets::label(tr("Permissions"), Widgets::TextRole::section, place));
    column->addWidget(m_permissions);
    column->addWidget(m_recursive);
    column->addSpacing(4);
    column->addLayout(buttons);
    const auto mayApply = [this] { m_apply->setEnabled(m_permissions->octal().has_value()); };
    connect(m_permissions, &PermissionsEditor::changed, this, mayApply);
    connect(m_recursive, &QCheckBox::toggled, this, mayApply);
    connect(m_apply, &QPushButton::clicked, this, &InfoDialog::apply);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    return place;
}

void InfoDialog::startCounting()
{
    m_tally = std::make_shared<FolderTally>();
    m_count->setText(tr("Stop"));
    m_tallyTimer.start();
    m_counting = runJob([tally = m_tally, service = m_pane.service(),
                         items = m_items](const std::stop_token &stop) { countInto(*tally, *service, items, stop); },
                        [this] {
                            m_tallyTimer.stop();
                            m_count->hide();
                            showTally(true);
                        },
                        [this](const Error &error) {
                            m_tallyTimer.stop();
                            m_size->setText(error.message());
                        });
}

void InfoDialog::stopCounting()
{
    m_counting.cancel();
    m_tallyTimer.stop();
    m_count->setText(tr("Count"));
    showTally(false);
}

void InfoDialog::showTally(bool isComplete)
{
    const qint64 bytes = m_tally->bytes;
    QString text = FileFacts::exactSize(bytes);
    if (m_hasFolder || m_items.size() > 1)
        text += tr(" in %1, %2").arg(fileCount(m_tally->files), folderCount(m_tally->folders));
    if (!isComplete)
        text = tr("So far %1").arg(text);
    if (const qint64 unreadable = m_tally->unreadable; unreadable > 0)
        text += u'\n' + tr("%1 could not be read; what is inside is not counted.").arg(folderCount(unreadable));
    m_size->setText(text);
    fitHeight();
}

/// Texts wrap, and a window does not follow them by itself.
void InfoDialog::fitHeight()
{
    const int width = std::max(this->width(), minimumWidth());
    layout()->activate();
    if (!isVisible() || height() < layout()->totalHeightForWidth(width))
        resize(width, layout()->totalHeightForWidth(width));
}

void InfoDialog::apply()
{
    const std::optional<QString> octal = m_permissions->octal();
    if (!octal)
        return;
    m_pane.setPermissions(m_items, *octal, m_recursive->isChecked() ? Recursive::yes : Recursive::no);
    close();
}

} // namespace moorix
