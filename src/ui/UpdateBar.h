// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QPointer>

class QBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QScrollArea;

namespace moorix {

class AppUpdateManager;

/// Offers a newer version inside the window, and shows its download and what became of it. Shown while there is
/// something to be shown. The keyboard stays where it is until it is given to the bar.
class UpdateBar final : public QFrame
{
    Q_OBJECT

public:
    explicit UpdateBar(AppUpdateManager &updates, QWidget *parent = nullptr);

    /// On the button that does the least; Escape presses it, too.
    void takeKeyboard();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QBoxLayout *makeTexts();
    QBoxLayout *makeButtons();
    void follow();
    void showPrompt();
    void showDownload();
    void noteOutcome();
    void showOutcome();
    void fit();
    void setText(const QString &heading, const QString &text);
    void focusButton();
    void showButtons(const QList<QPushButton *> &shown);
    void download();

    AppUpdateManager &m_updates;
    bool m_wasDownloading = false;
    /// The outcome of a download stays until it is closed.
    bool m_showsOutcome = false;
    QString m_outcome;
    QString m_reason;
    QLabel *m_heading;
    QLabel *m_text;
    QScrollArea *m_scroll;
    QProgressBar *m_progress;
    QPushButton *m_later;
    QPushButton *m_download;
    QPushButton *m_cancel;
    QPushButton *m_retry;
    QPushButton *m_close;
    /// What had the keyboard before.
    QPointer<QWidget> m_before;
};

} // namespace moorix
