// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/FileItem.h"

#include <QDialog>
#include <QTimer>

class QLabel;
class QPlainTextEdit;
class QStackedWidget;

namespace moorix {

class PaneModel;
struct QuickLookContent;

/// A window that shows the content of the selected entry and follows the selection. Space and Escape close it. Main
/// thread; reading is done in the background.
class QuickLook final : public QDialog
{
    Q_OBJECT

public:
    QuickLook(PaneModel &pane, QWidget *parent);

signals:
    /// The entry `rows` further down is wanted.
    void stepRequested(int rows);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void showSelected();
    void showContent(const QuickLookContent &content);
    void say(const QString &sentence);
    void fitPicture();
    bool handleKey(int key);

    PaneModel &m_pane;
    std::optional<FileItem> m_item;
    QStackedWidget *m_pages;
    QPlainTextEdit *m_text;
    QLabel *m_picture;
    QLabel *m_message;
    QLabel *m_footer;
    QImage m_image;
    QTimer m_patience;
    Job m_reading;
};

} // namespace moorix
