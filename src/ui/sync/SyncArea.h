// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSet>
#include <QStackedWidget>
#include <QUuid>

namespace moorix {

class AppModel;
class SyncOverview;
class SyncPage;
class SyncSession;
struct ServerConnection;
struct SyncPair;
struct Comparison;

/// What the window shows of syncs in place of its two sides: the saved pairs, or one pair. A pair that is left while
/// it is at work goes on; one for which nothing was chosen is closed.
class SyncArea final : public QStackedWidget
{
    Q_OBJECT
    Q_MOC_INCLUDE("app/Comparison.h")

public:
    explicit SyncArea(AppModel &model, QWidget *parent = nullptr);
    ~SyncArea() override;

    /// The pair of the two folders that the window shows, or the overview with why there is none.
    void showShownPair();
    void showOverview();
    void showPair(const QUuid &pair);
    void showSession(const QString &key);
    void showSettings(const QUuid &pair);
    void askToForget(const QUuid &pair);
    /// The area is left.
    void leave();

    void focusContent();
    void focusSearch();
    void reload();
    /// Of the pair that is shown; empty in the overview.
    QString shownKey() const;
    QString title() const;

signals:
    /// It wants to be seen.
    void shown();
    void backRequested();
    void comparisonRequested(const moorix::Comparison &comparison);

private:
    void followEngine();
    void tellEnds();
    SyncPage *show(SyncSession &session);
    SyncSession *sessionOf(const QUuid &pair);
    void dropPage();

    AppModel &m_model;
    SyncOverview *m_overview;
    SyncPage *m_page = nullptr;
    /// Pairs that were being made alike when it was last looked.
    QSet<QString> m_applying;
    /// Pairs whose last run ended while nobody looked.
    QSet<QString> m_unseen;
};

} // namespace moorix
