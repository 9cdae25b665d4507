// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Comparison.h"
#include "base/Job.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class QStackedWidget;

namespace moorix {

class DiffHeader;
class DiffView;
struct DiffContent;

/// Two files against each other, from reading them to the last change. Reads in the background, and not at all any more
/// once it is gone.
class DiffPage final : public QWidget
{
    Q_OBJECT

public:
    explicit DiffPage(Comparison comparison, QWidget *parent = nullptr);

    QString title() const;
    void focusContent();
    void focusSearch();
    /// Reads both files anew; what was looked at stays in sight.
    void reload();

signals:
    void backRequested();

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeMessage();
    void connectParts();
    void showContent(DiffContent content);
    void remark(const QString &sentence);
    /// In place of the files.
    void say(const QString &sentence, bool mayRetry);
    void followPlace();
    void stepHit(bool isNext);

    Comparison m_comparison;
    DiffHeader *m_header;
    QLabel *m_remark;
    QStackedWidget *m_pages;
    DiffView *m_view;
    QLabel *m_message;
    QPushButton *m_retry;
    QTimer m_patience;
    Job m_reading;
};

} // namespace moorix
