// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/introduction/IntroductionPage.h"

#include "ui/FlowLayout.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/introduction/KeychainPanel.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace moorix {

namespace {

constexpr int widest = 620;
/// Of the fullest screen, so that the headlines of all stand at one place.
constexpr int usualHeight = 340;

} // namespace

IntroductionPage::IntroductionPage(std::shared_ptr<KeychainStore> keychain, QWidget *parent)
    : QWidget(parent)
    , m_screens(new QStackedWidget(this))
    , m_step(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_saved(Widgets::label({}, Widgets::TextRole::body, this))
    , m_skip(Widgets::button(tr("Skip introduction"), QStringLiteral("introductionSkip"), this))
    , m_back(Widgets::button(tr("Back"), QStringLiteral("introductionBack"), this))
    , m_next(Widgets::primaryButton({}, QStringLiteral("introductionNext"), this))
{
    setObjectName(QStringLiteral("introductionPage"));
    m_step->setObjectName(QStringLiteral("introductionStep"));
    m_saved->setObjectName(QStringLiteral("introductionSaved"));
    m_screens->addWidget(makeWelcome());
    m_screens->addWidget(makeKeychain(std::move(keychain)));
    m_screens->addWidget(makeFirstServer());
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_screens, 1);
    column->addWidget(makeFooter());
    connect(m_skip, &QPushButton::clicked, this, &IntroductionPage::dismissed);
    connect(m_back, &QPushButton::clicked, this, [this] { showScreen(m_screens->currentIndex() - 1); });
    connect(m_next, &QPushButton::clicked, this, [this] {
        if (m_screens->currentIndex() + 1 == m_screens->count())
            emit dismissed();
        else
            showScreen(m_screens->currentIndex() + 1);
    });
}

void IntroductionPage::begin()
{
    m_saved->hide();
    showScreen(0);
}

void IntroductionPage::noteServer(const QString &name)
{
    m_saved->setText(tr("“%1” is saved. It stands in the server library, a click away.").arg(name));
    m_saved->show();
    if (m_screens->currentIndex() + 1 == m_screens->count())
        m_next->setFocus();
}

/// Text in a column of readable width, in the middle of whatever width there is.
QWidget *IntroductionPage::makeScreen(const QString &title, const QString &text, QVBoxLayout *&column)
{
    auto *body = new QWidget(this);
    body->setProperty("role", QStringLiteral("pageBody"));
    auto *content = new QWidget(body);
    content->setMaximumWidth(widest);
    content->setMinimumHeight(usualHeight);
    column = new QVBoxLayout(content);
    column->setContentsMargins(28, 0, 28, 0);
    column->setSpacing(14);
    QLabel *headline = Widgets::label(title, Widgets::TextRole::headline, content);
    headline->setObjectName(QStringLiteral("introductionHeadline"));
    headline->setProperty("scale", QStringLiteral("large"));
    column->addWidget(headline);
    column->addWidget(Widgets::label(text, Widgets::TextRole::muted, content));
    column->addSpacing(6);
    auto *centred = new QHBoxLayout;
    centred->addStretch(1);
    centred->addWidget(content, 100);
    centred->addStretch(1);
    auto *rows = new QVBoxLayout(body);
    rows->addSpacing(24);
    rows->addStretch(2);
    rows->addLayout(centred);
    rows->addStretch(3);
    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", QStringLiteral("page"));
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidgetResizable(true);
    scroll->setWidget(body);
    return scroll;
}

QWidget *IntroductionPage::makeWelcome()
{
    QVBoxLayout *column = nullptr;
    QWidget *screen =
        makeScreen(tr("Welcome to Moorix"), tr("Your files and your servers, side by side in one window."), column);
    addPoint(*column, QStringLiteral("view-split-left-right"), tr("Two sides, one way to work"),
             tr("A folder of this computer or of a server on each side. F5 copies to the other side, F6 moves, and Tab "
                "changes sides."));
    addPoint(*column, QStringLiteral("network-server"), tr("Servers like folders"),
             tr("SFTP, FTP and FTPS through the system's own clients. Files open in your programs and are uploaded "
                "when you save."));
    addPoint(*column, QStringLiteral("folder-sync"), tr("Kept alike, backed up, watched"),
             tr("Folder syncs that show first what they will do, encrypted backups that are read back, and a monitor "
                "for this computer and your servers."));
    addPoint(*column, QStringLiteral("dialog-scripts"), tr("Everything by key"),
             tr("Ctrl+Shift+P finds every command, server and folder by a few letters. F1 lists all keys."));
    column->addStretch(1);
    return screen;
}

QWidget *IntroductionPage::makeKeychain(std::shared_ptr<KeychainStore> keychain)
{
    QVBoxLayout *column = nullptr;
    QWidget *screen =
        makeScreen(tr("Where your passwords are kept"),
                   tr("Moorix keeps passwords and passphrases in the keychain of your desktop, never in a "
                      "file of its own. This is how far it can be used here:"),
                   column);
    m_keychain = new KeychainPanel(std::move(keychain), screen);
    column->addWidget(m_keychain);
    column->addStretch(1);
    return screen;
}

QWidget *IntroductionPage::makeFirstServer()
{
    QVBoxLayout *column = nullptr;
    QWidget *screen = makeScreen(tr("Your first server"),
                                 tr("Save the servers you use, or bring them along: from OpenSSH, from FileZilla's "
                                    "“sitemanager.xml”, or from a file that Moorix has exported."),
                                 column);
    m_newServer = Widgets::primaryButton(tr("New server…"), QStringLiteral("introductionNewServer"), screen);
    QPushButton *import =
        Widgets::button(tr("Import from ~/.ssh/config…"), QStringLiteral("introductionImport"), screen);
    QPushButton *importFile = Widgets::button(tr("Import from a file…"), QStringLiteral("introductionFile"), screen);
    auto *row = new FlowLayout(8);
    for (QPushButton *button : {m_newServer, import, importFile})
        row->addWidget(button);
    column->addLayout(row);
    column->addWidget(m_saved);
    connect(m_newServer, &QPushButton::clicked, this, &IntroductionPage::newServerRequested);
    connect(import, &QPushButton::clicked, this, &IntroductionPage::importRequested);
    connect(importFile, &QPushButton::clicked, this, &IntroductionPage::fileImportRequested);
    column->addStretch(1);
    return screen;
}

QWidget *IntroductionPage::makeFooter()
{
    auto *footer = new QFrame(this);
    footer->setProperty("role", QStringLiteral("lowerBar"));
    auto *row = new QHBoxLayout(footer);
    row->setContentsMargins(20, 12, 20, 12);
    // Its place stays when it hides, so that nothing jumps.
    QSizePolicy keepsPlace = m_skip->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    m_skip->setSizePolicy(keepsPlace);
    row->addWidget(m_skip);
    row->addStretch(1);
    m_step->setWordWrap(false);
    row->addWidget(m_step);
    row->addStretch(1);
    // "Done" is as wide as "Next", so that nothing beside them moves.
    m_next->setMinimumWidth(76);
    row->addWidget(m_back);
    row->addWidget(m_next);
    return footer;
}

void IntroductionPage::addPoint(QVBoxLayout &column, const QString &iconName, const QString &title, const QString &text)
{
    auto *icon = new QLabel(column.parentWidget());
    icon->setPixmap(Theme::icon(iconName, Theme::Color::accent).pixmap(24, 24));
    icon->setAlignment(Qt::AlignTop);
    icon->setFixedWidth(40);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(Widgets::label(title, Widgets::TextRole::heading, column.parentWidget()));
    texts->addWidget(Widgets::label(text, Widgets::TextRole::muted, column.parentWidget()));
    auto *row = new QHBoxLayout;
    row->addWidget(icon);
    row->addLayout(texts, 1);
    column.addLayout(row);
}

void IntroductionPage::showScreen(int index)
{
    const int last = m_screens->count() - 1;
    m_screens->setCurrentIndex(index);
    m_step->setText(tr("%1 of %2").arg(index + 1).arg(last + 1));
    m_back->setEnabled(index > 0);
    m_next->setText(index == last ? tr("Done") : tr("Next"));
    m_skip->setVisible(index < last);
    if (m_screens->currentWidget()->isAncestorOf(m_keychain))
        m_keychain->check();
    (index == last && m_saved->isHidden() ? m_newServer : m_next)->setFocus();
}

void IntroductionPage::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        emit dismissed();
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        for (QPushButton *button : findChildren<QPushButton *>()) {
            if (button->hasFocus())
                return button->click();
        }
    }
    QWidget::keyPressEvent(event);
}

} // namespace moorix
