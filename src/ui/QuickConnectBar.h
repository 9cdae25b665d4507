// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QCheckBox;
class QGridLayout;
class QLabel;
class QLineEdit;

namespace moorix {

class AppModel;
class PaneTabs;

/// One line, or two where it is narrow, to connect to a server that is not in the library. Shown while the side's slot
/// says so.
class QuickConnectBar final : public QFrame
{
    Q_OBJECT

public:
    QuickConnectBar(AppModel &model, PaneTabs &tabs, QWidget *parent = nullptr);
    ~QuickConnectBar() override;

    /// Shows the bar with `address` in it. The user decides whether it is connected to.
    void offer(const QString &address);

signals:
    /// The bar is about to hide and had the keyboard.
    void keyboardReleased();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void followSlot();
    void connectToAddress();

    AppModel &m_model;
    PaneTabs &m_tabs;
    QLineEdit *m_address;
    /// What stands beside the address, or under it.
    QWidget *m_rest;
    QLineEdit *m_password;
    QCheckBox *m_save;
    QLabel *m_problem;
    QGridLayout *m_grid;
};

} // namespace moorix
