// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <memory>

class QLabel;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;

namespace moorix {

class KeychainPanel;
class KeychainStore;

/// Three screens for the first start: what the program does, whether the keychain works, and the first server. Stands
/// in place of the two sides and holds up nothing.
class IntroductionPage final : public QWidget
{
    Q_OBJECT

public:
    explicit IntroductionPage(std::shared_ptr<KeychainStore> keychain, QWidget *parent = nullptr);

    /// From the first screen on, with the keyboard.
    void begin();
    /// Says on the last screen that this server is saved, and offers to be done.
    void noteServer(const QString &name);

signals:
    void newServerRequested();
    /// From the configuration of OpenSSH, and from a file still to be chosen.
    void importRequested();
    void fileImportRequested();
    /// The user has seen enough, at whichever screen.
    void dismissed();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeScreen(const QString &title, const QString &text, QVBoxLayout *&column);
    QWidget *makeWelcome();
    QWidget *makeKeychain(std::shared_ptr<KeychainStore> keychain);
    QWidget *makeFirstServer();
    QWidget *makeFooter();
    void addPoint(QVBoxLayout &column, const QString &iconName, const QString &title, const QString &text);
    void showScreen(int index);

    QStackedWidget *m_screens;
    QLabel *m_step;
    QLabel *m_saved;
    QPushButton *m_skip;
    QPushButton *m_back;
    QPushButton *m_next;
    QPushButton *m_newServer = nullptr;
    KeychainPanel *m_keychain = nullptr;
};

} // namespace moorix
