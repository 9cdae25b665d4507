// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/Exchange.h"
#include "base/Job.h"

#include <QDialog>

#include <memory>

class QCheckBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QStackedWidget;

namespace moorix {

class AppModel;
class ElidedLabel;
class ImportTree;

/// Reads a file to import, shows what it would mean, carries it out as the user decides, and takes it back on request.
/// Opened with `open()`; deletes itself.
class ImportDialog final : public QDialog
{
    Q_OBJECT

public:
    ImportDialog(AppModel &model, const QString &path, QWidget *parent = nullptr);
    ~ImportDialog() override;

private:
    QWidget *makePreview();
    QLayout *makeModes();
    QWidget *makeEnd();
    QLayout *makeButtons();

    void read();
    void offer(ExchangeContent content);
    void fail(const QString &sentence);
    void plan();
    void showPlan(const QList<ImportRow> &rows);
    void showCounts();
    void carryOut();
    void apply(const QList<documentCopies::Copy> &copies);
    void finish(const QString &counts);
    void storePasswords();
    void undo();
    void takeBack(const QList<documentCopies::Copy> &copies);
    void forgetPasswords();
    void tellEnd(const QString &text, const QString &details);
    ImportChoice::Mode mode() const;
    Exchange exchange() const;

    AppModel &m_model;
    QString m_path;
    std::shared_ptr<const ExchangeContent> m_content;
    QList<ImportRow> m_rows;
    QList<documentCopies::Copy> m_copies;
    ExchangeDocuments m_before;
    ExchangeDocuments m_after;
    /// Servers of this import whose passwords went to the keychain.
    QList<QUuid> m_storedPasswords;
    Job m_job;
    Job m_passwordJob;

    QLabel *m_heading;
    ElidedLabel *m_file;
    QStackedWidget *m_pages;
    QLabel *m_waiting;
    QLabel *m_notes = nullptr;
    QWidget *m_modes = nullptr;
    QRadioButton *m_merge = nullptr;
    QRadioButton *m_replace = nullptr;
    QLabel *m_warning = nullptr;
    QCheckBox *m_passwords = nullptr;
    ImportTree *m_tree = nullptr;
    QLabel *m_endText = nullptr;
    QLabel *m_endDetails = nullptr;
    QLabel *m_counts = nullptr;
    QPushButton *m_cancel = nullptr;
    QPushButton *m_undo = nullptr;
    QPushButton *m_import = nullptr;
};

} // namespace moorix
