// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ConnectionForm.h"

#include "app/AppModel.h"
#include "servers/ServerStore.h"
#include "ui/Accessibility.h"
#include "ui/CheckBox.h"
#include "ui/ComboBox.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"
#include "ui/servers/SignInSection.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>

#include <algorithm>

namespace moorix {

namespace {

/// Has the fields of all sections stand in one column.
void alignFields(const QWidget &page)
{
    QWidgetList labels;
    int widest = 0;
    for (const QFormLayout *form : page.findChildren<QFormLayout *>()) {
        for (int row = 0; row < form->rowCount(); ++row) {
            if (QLayoutItem *label = form->itemAt(row, QFormLayout::LabelRole)) {
                labels << label->widget();
                widest = std::max(widest, label->sizeHint().width());
            }
        }
    }
    for (QWidget *label : std::as_const(labels))
        label->setMinimumWidth(widest);
}

} // namespace

ConnectionForm::ConnectionForm(AppModel &model, const ServerConnection &server, Purpose purpose, QWidget *parent)
    : QDialog(parent)
    , m_model(model)
    , m_original(server)
    , m_lastProtocol(server.networkProtocol)
    , m_name(new QLineEdit(this))
    , m_protocol(new ComboBox(this))
    , m_host(new QLineEdit(this))
    , m_port(new QSpinBox(this))
    , m_signIn(new SignInSection(this))
    , m_remotePath(new QLineEdit(this))
    , m_folder(new ComboBox(this))
    , m_favorite(new CheckBox(tr("Show among the favourites"), this))
    , m_color(new ComboBox(this))
    , m_symbol(new ComboBox(this))
    , m_passive(new CheckBox(tr("Passive data connections"), this))
    , m_tls(new CheckBox(tr("Encrypt the connection (TLS)"), this))
    , m_keepAlive(new QSpinBox(this))
    , m_strict(new CheckBox(tr("Refuse hosts whose key is not known yet"), this))
    , m_charset(new ComboBox(this))
    , m_notes(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("connectionForm"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(purpose == Purpose::create ? tr("New server") : tr("Edit %1").arg(server.displayName()));
    auto *body = new QWidget(this);
    body->setProperty("role", QStringLiteral("pageBody"));
    auto *sections = new QVBoxLayout(body);
    sections->setContentsMargins(24, 20, 24, 20);
    sections->setSpacing(10);
    makeSections(*sections);
    Accessibility::nameFields(*body);
    alignFields(*body);
    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", QStringLiteral("page"));
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(body);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(scroll, 1);
    column->addWidget(Widgets::separator(this));
    column->addWidget(makeFooter());
    resize(560, 680);

    fillChoices();
    show(server);
    loadFacts();
    connect(m_protocol, &QComboBox::currentIndexChanged, this, &ConnectionForm::protocolChanged);
    connect(m_signIn, &SignInSection::edited, this, &ConnectionForm::clearProblems);
    connect(m_host, &QLineEdit::textChanged, this, &ConnectionForm::clearProblems);
    m_host->setFocus();
}

ConnectionForm::~ConnectionForm() = default;

QFormLayout *ConnectionForm::addSection(QVBoxLayout &column, const QString &title)
{
    if (column.count() > 0)
        column.addSpacing(10);
    column.addWidget(Widgets::label(title, Widgets::TextRole::heading, this));
    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    column.addLayout(form);
    return form;
}

void ConnectionForm::makeSections(QVBoxLayout &column)
{
    makeServerSection(column);
    column.addSpacing(10);
    column.addWidget(Widgets::label(tr("Sign-in"), Widgets::TextRole::heading, this));
    column.addWidget(m_signIn);
    addProblemLabel(ConnectionField::username, m_signIn->form(), &m_signIn->username());
    addProblemLabel(ConnectionField::privateKey, m_signIn->form(), nullptr);
    makeOptionsSection(column);
    makeLookSection(column);
    column.addStretch(1);
}

void ConnectionForm::makeServerSection(QVBoxLayout &column)
{
    m_serverForm = addSection(column, tr("Server"));
    m_name->setObjectName(QStringLiteral("serverName"));
    m_name->setPlaceholderText(tr("The host's name when empty"));
    m_protocol->setObjectName(QStringLiteral("protocol"));
    m_host->setObjectName(QStringLiteral("host"));
    m_host->setPlaceholderText(QStringLiteral("web-01.example.com"));
    m_port->setObjectName(QStringLiteral("port"));
    m_port->setAccessibleName(tr("Port"));
    m_port->setRange(0, 99999);
    m_port->setButtonSymbols(QAbstractSpinBox::NoButtons);
    m_port->setFixedWidth(76);
    m_protocolNote = Widgets::label(tr("FTP sends name, password and files unencrypted. Choose FTPS where the server "
                                       "offers it."),
                                    Widgets::TextRole::muted, this);
    auto *hostRow = new QHBoxLayout;
    hostRow->addWidget(m_host, 1);
    hostRow->addWidget(new QLabel(tr("Port"), this));
    hostRow->addWidget(m_port);
    m_serverForm->addRow(tr("Protocol"), m_protocol);
    m_serverForm->addRow(QString(), m_protocolNote);
    m_serverForm->addRow(tr("Host"), hostRow);
    addProblemLabel(ConnectionField::host, *m_serverForm, m_host);
    addProblemLabel(ConnectionField::port, *m_serverForm, m_port);
    m_serverForm->addRow(tr("Name"), m_name);
}

void ConnectionForm::makeOptionsSection(QVBoxLayout &column)
{
    m_optionsForm = addSection(column, tr("Connection"));
    m_remotePath->setObjectName(QStringLiteral("remotePath"));
    m_remotePath->setPlaceholderText(tr("The login folder when empty"));
    m_keepAlive->setObjectName(QStringLiteral("keepAlive"));
    m_keepAlive->setRange(0, 3600);
    m_keepAlive->setButtonSymbols(QAbstractSpinBox::NoButtons);
    m_keepAlive->setSuffix(tr(" s"));
    m_keepAlive->setSpecialValueText(tr("Off"));
    m_strict->setObjectName(QStringLiteral("strictHostKeyChecking"));
    m_passive->setObjectName(QStringLiteral("passiveMode"));
    m_tls->setObjectName(QStringLiteral("useTLS"));
    m_charset->setObjectName(QStringLiteral("charset"));
    m_charset->setEditable(true);
    m_optionsForm->addRow(tr("Start folder"), m_remotePath);
    addProblemLabel(ConnectionField::remotePath, *m_optionsForm, m_remotePath);
    m_optionsForm->addRow(tr("Keep alive"), m_keepAlive);
    addProblemLabel(ConnectionField::keepAlive, *m_optionsForm, m_keepAlive);
    m_optionsForm->addRow(tr("Host key"), m_strict);
    m_optionsForm->addRow(tr("Data"), m_passive);
    m_optionsForm->addRow(tr("Encryption"), m_tls);
    m_optionsForm->addRow(tr("Character set"), m_charset);
    addProblemLabel(ConnectionField::charset, *m_optionsForm, m_charset);
}

void ConnectionForm::makeLookSection(QVBoxLayout &column)
{
    QFormLayout *form = addSection(column, tr("In the library"));
    m_folder->setObjectName(QStringLiteral("folder"));
    m_favorite->setObjectName(QStringLiteral("isFavorite"));
    m_color->setObjectName(QStringLiteral("colorTag"));
    m_symbol->setObjectName(QStringLiteral("symbol"));
    m_notes->setObjectName(QStringLiteral("notes"));
    m_notes->setTabChangesFocus(true);
    m_notes->setFixedHeight(72);
    form->addRow(tr("Folder"), m_folder);
    form->addRow(tr("Favourite"), m_favorite);
    form->addRow(tr("Colour"), m_color);
    form->addRow(tr("Symbol"), m_symbol);
    form->addRow(tr("Notes"), m_notes);
}

void ConnectionForm::addProblemLabel(ConnectionField field, QFormLayout &form, QWidget *input)
{
    QLabel *label = Widgets::label({}, Widgets::TextRole::error, this);
    label->setObjectName(QStringLiteral("problem%1").arg(int(field)));
    label->hide();
    form.addRow(QString(), label);
    m_problems.insert(field, {label, input});
}

QWidget *ConnectionForm::makeFooter()
{
    auto *footer = new QWidget(this);
    m_test = Widgets::button(tr("Test connection"), QStringLiteral("testConnection"), footer);
    m_result = Widgets::label({}, Widgets::TextRole::muted, footer);
    m_result->setObjectName(QStringLiteral("testResult"));
    m_result->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("cancelForm"), footer);
    m_save = Widgets::primaryButton(tr("Save"), QStringLiteral("saveServer"), footer);
    m_save->setDefault(true);
    auto *row = new QHBoxLayout(footer);
    row->setContentsMargins(24, 12, 24, 12);
    row->addWidget(m_test);
    row->addWidget(m_result, 1);
    row->addWidget(cancel);
    row->addWidget(m_save);
    connect(m_test, &QPushButton::clicked, this, &ConnectionForm::test);
    connect(cancel, &QPushButton::clicked, this, &ConnectionForm::reject);
    connect(m_save, &QPushButton::clicked, this, &ConnectionForm::save);
    return footer;
}

void ConnectionForm::fillChoices()
{
    for (const NetworkProtocol protocol : allNetworkProtocols)
        m_protocol->addItem(rawText(protocol), int(protocol));
    m_folder->addItem(tr("Top level"));
    for (const auto &[folder, depth] : m_model.servers().flattenedFolders())
        m_folder->addItem(QString(depth * 4, u' ') + folder.name, folder.id);
    m_color->addItem(tr("None"), QString());
    for (const auto &[tag, label] : ServerLook::colorTags())
        m_color->addItem(ServerLook::dot(QColor(tag)), label, tag);
    if (m_original.colorTag && m_color->findData(*m_original.colorTag) < 0)
        m_color->addItem(*m_original.colorTag, *m_original.colorTag);
    m_symbol->addItem(tr("By protocol"), QString());
    for (const auto &[symbol, label] : ServerLook::symbols())
        m_symbol->addItem(label, symbol);
    if (m_original.symbol && m_symbol->findData(*m_original.symbol) < 0)
        m_symbol->addItem(*m_original.symbol, *m_original.symbol);
    m_charset->addItems({QStringLiteral("UTF-8"), QStringLiteral("ISO-8859-1"), QStringLiteral("ISO-8859-15"),
                         QStringLiteral("Windows-1252"), QStringLiteral("Shift_JIS"), QStringLiteral("GB18030")});
}

} // namespace moorix
