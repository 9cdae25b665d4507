// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of the editor's page.
#include "ui/backup/BackupEditor.h"

#include "app/AppModel.h"
#include "ui/Accessibility.h"
#include "ui/CheckBox.h"
#include "ui/ComboBox.h"
#include "ui/MessageBar.h"
#include "ui/Widgets.h"
#include "ui/backup/PassphraseSection.h"
#include "ui/backup/ServerFolderPicker.h"
#include "ui/backup/SourceList.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSpinBox>
#include <QToolButton>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

namespace {

constexpr int widestColumn = 760;

/// Of a clock: "07".
class TwoDigitBox final : public QSpinBox
{
public:
    using QSpinBox::QSpinBox;
    QString textFromValue(int value) const override { return QString::asprintf("%02d", value); }
};

QSpinBox *number(QSpinBox *box, const QString &objectName, const QString &name, int lowest, int highest)
{
    box->setObjectName(objectName);
    box->setAccessibleName(name);
    box->setRange(lowest, highest);
    box->setButtonSymbols(QAbstractSpinBox::NoButtons);
    box->setFixedWidth(60);
    return box;
}

/// Widgets side by side, with what is left of the line empty.
QWidget *line(const QList<QWidget *> &widgets, QWidget *parent)
{
    auto *holder = new QWidget(parent);
    auto *row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets)
        row->addWidget(widget);
    row->addStretch(1);
    return holder;
}

/// A field with what belongs beneath it; hidden widgets take no room.
QWidget *stacked(const QList<QWidget *> &widgets, QWidget *parent)
{
    auto *holder = new QWidget(parent);
    auto *column = new QVBoxLayout(holder);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(5);
    for (QWidget *widget : widgets)
        column->addWidget(widget);
    return holder;
}

/// The label of a row; all are of one width, so that the fields of all sections stand in one column.
QLabel *rowLabel(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setFixedWidth(96);
    return label;
}

QLabel *plain(const QString &text, QWidget *parent)
{
    QLabel *label = Widgets::label(text, TextRole::muted, parent);
    label->setWordWrap(false);
    return label;
}

} // namespace

BackupEditor::BackupEditor(AppModel &model, const BackupJob &job, Purpose purpose, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_original(job)
    , m_purpose(purpose)
    , m_message(new MessageBar(this))
    , m_name(new QLineEdit(this))
    , m_sources(new SourceList(model, this))
    , m_place(new ComboBox(this))
    , m_folder(new QLineEdit(this))
    , m_picker(new ServerFolderPicker(model, this))
    , m_frequency(new ComboBox(this))
    , m_weekday(new ComboBox(this))
    , m_monthDay(number(new QSpinBox(this), u"backupMonthDay"_s, tr("Day of the month"), 1, 31))
    , m_hour(number(new TwoDigitBox(this), u"backupHour"_s, tr("Hour"), 0, 23))
    , m_minute(number(new TwoDigitBox(this), u"backupMinute"_s, tr("Minute"), 0, 59))
    , m_zip(new CheckBox(tr("Pack everything into one zip archive"), this))
    , m_encrypt(new CheckBox(tr("Encrypt the archives with a passphrase"), this))
    , m_passphrase(new PassphraseSection(model.keychain(), job.id, this))
    , m_keep(number(new QSpinBox(this), u"backupKeep"_s, tr("Archives to keep"), 0, 9999))
    , m_archivePreview(Widgets::label({}, TextRole::muted, this))
    , m_schedulePreview(Widgets::label({}, TextRole::muted, this))
    , m_monthHint(plain({}, this))
{
    setObjectName(u"backupEditor"_s);
    fillPlaces();
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_message);
    column->addWidget(makeBody(), 1);
    column->addWidget(Widgets::separator(this));
    column->addWidget(makeFooter());
    show(job);
    // What the fields make of it is what is compared with, not a value that none of them can hold.
    m_original = record();
    followFields();
    auto *saveKey = new QShortcut(Qt::CTRL | Qt::Key_Return, this);
    saveKey->setContext(Qt::WidgetWithChildrenShortcut);
    connect(saveKey, &QShortcut::activated, this, &BackupEditor::save);
    m_name->setFocus();
    m_name->selectAll();
}

BackupEditor::~BackupEditor() = default;

QWidget *BackupEditor::makeHeader()
{
    auto *header = new QWidget(this);
    QToolButton *back = Widgets::iconButton(u"go-previous-view"_s, tr("Back (Esc)"), u"backupBack"_s, header);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(16, 14, 24, 10);
    row->addWidget(back);
    row->addWidget(Widgets::label(title(), TextRole::headline, header), 1);
    connect(back, &QToolButton::clicked, this, [this] { leave([this] { emit closed(); }); });
    return header;
}

QWidget *BackupEditor::makeBody()
{
    auto *body = new QWidget(this);
    body->setProperty("role", u"pageBody"_s);
    body->setMaximumWidth(widestColumn);
    auto *column = new QVBoxLayout(body);
    column->setContentsMargins(24, 4, 24, 24);
    column->setSpacing(10);
    makeWhat(*column);
    makeWhere(*column);
    makeWhen(*column);
    makeHow(*column);
    column->addStretch(1);
    Accessibility::nameFields(*body);
    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", u"page"_s);
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(body);
    return scroll;
}

QFormLayout *BackupEditor::addSection(QVBoxLayout &column, const QString &title)
{
    if (column.count() > 0)
        column.addSpacing(10);
    column.addWidget(Widgets::label(title, TextRole::heading, this));
    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    column.addLayout(form);
    return form;
}

QLabel *BackupEditor::makeProblem(BackupField field, QWidget *input)
{
    static const QHash<BackupField, QString> names{{BackupField::name, u"backupProblemName"_s},
                                                   {BackupField::sources, u"backupProblemSources"_s},
                                                   {BackupField::destination, u"backupProblemDestination"_s},
                                                   {BackupField::passphrase, u"backupProblemPassphrase"_s}};
    QLabel *label = Widgets::label({}, TextRole::error, this);
    label->setObjectName(names.value(field));
    label->hide();
    m_problems.insert(field, {label, input});
    return label;
}

void BackupEditor::makeWhat(QVBoxLayout &column)
{
    QFormLayout *form = addSection(column, tr("What"));
    m_name->setObjectName(u"backupJobName"_s);
    m_archivePreview->setObjectName(u"backupArchivePreview"_s);
    form->addRow(rowLabel(tr("Name"), this),
                 stacked({m_name, m_archivePreview, makeProblem(BackupField::name, m_name)}, this));
    form->addRow(rowLabel(tr("Sources"), this),
                 stacked({m_sources, makeProblem(BackupField::sources, m_sources)}, this));
    connect(m_name, &QLineEdit::textChanged, this, &BackupEditor::edited);
    connect(m_sources, &SourceList::edited, this, &BackupEditor::edited);
}

void BackupEditor::makeWhere(QVBoxLayout &column)
{
    QFormLayout *form = addSection(column, tr("Where to"));
    m_place->setObjectName(u"backupPlace"_s);
    m_folder->setObjectName(u"backupFolder"_s);
    m_folder->setPlaceholderText(u"/media/disk/backups"_s);
    QPushButton *browse = Widgets::button(tr("Browse…"), u"backupBrowse"_s, this);
    auto *row = new QWidget(this);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_folder, 1);
    layout->addWidget(browse);
    form->addRow(rowLabel(tr("On"), this), m_place);
    form->addRow(rowLabel(tr("Folder"), this),
                 stacked({row, m_picker, makeProblem(BackupField::destination, m_folder)}, this));
    form->addRow(rowLabel(tr("Keep"), this),
                 line({m_keep, plain(tr("archives; the oldest go once a new one is there, 0 keeps all"), this)}, this));
    connect(browse, &QPushButton::clicked, this, &BackupEditor::browse);
    connect(m_picker, &ServerFolderPicker::chosen, m_folder, &QLineEdit::setText);
    connect(m_folder, &QLineEdit::textChanged, this, &BackupEditor::edited);
    connect(m_keep, &QSpinBox::valueChanged, this, &BackupEditor::edited);
    connect(m_place, &QComboBox::currentIndexChanged, this, [this] {
        m_picker->close();
        edited();
    });
}

void BackupEditor::makeWhen(QVBoxLayout &column)
{
    m_when = addSection(column, tr("When"));
    m_frequency->setObjectName(u"backupFrequency"_s);
    m_frequency->addItems({tr("Every day"), tr("Every week"), tr("Every month")});
    m_weekday->setObjectName(u"backupWeekday"_s);
    for (int day = 1; day <= 7; ++day)
        m_weekday->addItem(QLocale::c().dayName(day));
    m_schedulePreview->setObjectName(u"backupSchedulePreview"_s);
    m_monthHint->setObjectName(u"backupMonthHint"_s);
    m_when->addRow(rowLabel(tr("How often"), this), m_frequency);
    m_when->addRow(rowLabel(tr("On"), this), m_weekday);
    m_when->addRow(rowLabel(tr("On day"), this), line({m_monthDay, m_monthHint}, this));
    QWidget *time = line({m_hour, plain(u":"_s, this), m_minute}, this);
    m_when->addRow(rowLabel(tr("At"), this), stacked({time, m_schedulePreview}, this));
    for (QComboBox *box : {m_frequency, m_weekday})
        connect(box, &QComboBox::currentIndexChanged, this, &BackupEditor::edited);
    for (QSpinBox *box : {m_monthDay, m_hour, m_minute})
        connect(box, &QSpinBox::valueChanged, this, &BackupEditor::edited);
}

void BackupEditor::makeHow(QVBoxLayout &column)
{
    m_how = addSection(column, tr("How"));
    m_zip->setObjectName(u"backupZip"_s);
    m_encrypt->setObjectName(u"backupEncrypt"_s);
    m_how->addRow(rowLabel(tr("Archive"), this), stacked({m_zip, m_encrypt}, this));
    m_how->addRow(rowLabel(tr("Passphrase"), this),
                  stacked({m_passphrase, makeProblem(BackupField::passphrase, m_passphrase)}, this));
    for (QCheckBox *box : {m_zip, m_encrypt})
        connect(box, &QCheckBox::toggled, this, &BackupEditor::edited);
    connect(m_passphrase, &PassphraseSection::edited, this, &BackupEditor::edited);
}

QWidget *BackupEditor::makeFooter()
{
    auto *footer = new QWidget(this);
    QPushButton *cancel = Widgets::button(tr("Cancel"), u"backupDiscard"_s, footer);
    m_save = Widgets::primaryButton(tr("Save"), u"backupSave"_s, footer);
    m_save->setToolTip(u"Ctrl+Return"_s);
    auto *row = new QHBoxLayout(footer);
    row->setContentsMargins(24, 12, 24, 12);
    row->addStretch(1);
    row->addWidget(cancel);
    row->addWidget(m_save);
    connect(cancel, &QPushButton::clicked, this, [this] { leave([this] { emit closed(); }); });
    connect(m_save, &QPushButton::clicked, this, &BackupEditor::save);
    return footer;
}

} // namespace moorix
