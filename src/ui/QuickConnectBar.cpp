// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/QuickConnectBar.h"

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "ui/CheckBox.h"
#include "ui/QuickConnectAddress.h"
#include "ui/Widgets.h"

#include <QApplication>
#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>

namespace moorix {

QuickConnectBar::QuickConnectBar(AppModel &model, PaneTabs &tabs, QWidget *parent)
    : QFrame(parent)
    , m_model(model)
    , m_tabs(tabs)
    , m_address(new QLineEdit(this))
    , m_rest(new QWidget(this))
    , m_password(new QLineEdit(m_rest))
    , m_save(new CheckBox(tr("Save"), m_rest))
    , m_problem(Widgets::label({}, Widgets::TextRole::error, this))
    , m_grid(new QGridLayout)
{
    setObjectName(QStringLiteral("quickConnect"));
    setProperty("role", QStringLiteral("bar"));
    m_address->setObjectName(QStringLiteral("quickAddress"));
    m_address->setPlaceholderText(tr("user@host:port/folder or sftp://…"));
    m_address->setAccessibleName(tr("Address of the server"));
    m_password->setObjectName(QStringLiteral("quickPassword"));
    m_password->setPlaceholderText(tr("Password (empty: your keys)"));
    m_password->setAccessibleName(tr("Password"));
    m_password->setEchoMode(QLineEdit::Password);
    m_save->setObjectName(QStringLiteral("quickSave"));
    m_save->setToolTip(tr("Save the server and the password to the library"));
    m_problem->setObjectName(QStringLiteral("quickProblem"));
    m_problem->hide();
    QPushButton *connectButton = Widgets::primaryButton(tr("Connect"), QStringLiteral("quickConnectNow"), m_rest);
    QToolButton *close =
        Widgets::iconButton(QStringLiteral("window-close"), tr("Close"), QStringLiteral("quickClose"), this);
    auto *row = new QHBoxLayout(m_rest);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_password, 1);
    row->addWidget(m_save);
    row->addWidget(connectButton);
    m_grid->addWidget(m_address, 0, 0);
    m_grid->addWidget(m_rest, 0, 1);
    m_grid->addWidget(close, 0, 2);
    m_grid->setColumnStretch(0, 1);
    m_grid->setColumnStretch(1, 1);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(10, 8, 8, 8);
    column->addLayout(m_grid);
    column->addWidget(m_problem);

    connect(connectButton, &QPushButton::clicked, this, &QuickConnectBar::connectToAddress);
    connect(close, &QToolButton::clicked, this, [this] { m_tabs.slot().setShowsQuickConnect(false); });
    connect(m_address, &QLineEdit::textEdited, m_problem, &QWidget::hide);
    for (QLineEdit *field : {m_address, m_password})
        connect(field, &QLineEdit::returnPressed, this, &QuickConnectBar::connectToAddress);
    connect(&tabs.slot(), &PaneSlot::quickConnectChanged, this, &QuickConnectBar::followSlot);
    followSlot();
}

QuickConnectBar::~QuickConnectBar() = default;

void QuickConnectBar::offer(const QString &address)
{
    m_address->setText(address);
    m_problem->hide();
    m_tabs.slot().setShowsQuickConnect(true);
}

void QuickConnectBar::followSlot()
{
    const bool isShown = m_tabs.slot().showsQuickConnect();
    if (!isShown) {
        // Else the keyboard would go to whatever comes next, the other side for one.
        if (isAncestorOf(QApplication::focusWidget()))
            emit keyboardReleased();
        hide();
        return;
    }
    show();
    m_address->setFocus();
    m_address->selectAll();
}

void QuickConnectBar::connectToAddress()
{
    const auto parsed = parseQuickConnectAddress(m_address->text());
    if (const QString *problem = std::get_if<QString>(&parsed)) {
        m_problem->setText(*problem);
        m_problem->show();
        m_address->setFocus();
        return;
    }
    QuickConnectAddress address = std::get<QuickConnectAddress>(parsed);
    if (!m_password->text().isEmpty())
        address.password = m_password->text();
    if (!address.password && supportsKeyAuth(address.server.networkProtocol))
        address.server.authMethod = AuthMethod::systemKey;
    ConnectionCredentials credentials;
    credentials.password = address.password;
    if (m_save->isChecked()) {
        m_model
            .saveServer(address.server, credentials,
                        [model = QPointer<AppModel>(&m_model)](const QString &problem) {
                            if (model && !problem.isEmpty())
                                emit model->messageRaised(problem);
                        })
            .detach();
    }
    m_password->clear();
    m_tabs.openServer(address.server, credentials, std::nullopt);
    m_tabs.slot().setShowsQuickConnect(false);
}

void QuickConnectBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        m_tabs.slot().setShowsQuickConnect(false);
    else
        QFrame::keyPressEvent(event);
}

/// One line only where it shows the whole of what the fields ask for.
void QuickConnectBar::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    constexpr int aroundText = 30;
    const auto lacking = [](const QLineEdit &field) {
        return field.fontMetrics().horizontalAdvance(field.placeholderText()) + aroundText - field.sizeHint().width();
    };
    const int needed = 2 * (m_rest->sizeHint().width() + std::max(0, lacking(*m_password))) + aroundText;
    m_grid->removeWidget(m_rest);
    if (width() >= needed)
        m_grid->addWidget(m_rest, 0, 1);
    else
        m_grid->addWidget(m_rest, 1, 0, 1, 3);
    m_grid->setColumnStretch(1, width() >= needed ? 1 : 0);
}

} // namespace moorix
