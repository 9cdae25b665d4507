// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace moorix {

class RemoteDiagnosticsService;

/// How the last check-in went, with a button for the next one, and to the byte what it sends.
class DiagnosticsPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit DiagnosticsPanel(RemoteDiagnosticsService &diagnostics, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void follow();
    void showPayload();

    RemoteDiagnosticsService &m_diagnostics;
    QLabel *m_status;
    QLabel *m_last;
    QPushButton *m_checkIn;
    QPlainTextEdit *m_payload;
    QTimer m_refresh;
};

} // namespace moorix
