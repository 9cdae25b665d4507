// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"
#include "ui/backup/BackupRules.h"

#include <QHash>
#include <QWidget>

#include <functional>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QVBoxLayout;

namespace moorix {

class AppModel;
class MessageBar;
class PassphraseSection;
class ServerFolderPicker;
class SourceList;

/// A page that makes or changes one backup: says beside a field what is wrong with it, and what the archives will be
/// called and when they are made while one types.
class BackupEditor final : public QWidget
{
    Q_OBJECT

public:
    enum class Purpose { create, edit };

    BackupEditor(AppModel &model, const BackupJob &job, Purpose purpose, QWidget *parent = nullptr);
    ~BackupEditor() override;

    /// The record as the fields stand.
    BackupJob record() const;
    /// Whether leaving would lose something.
    bool isEdited() const;
    void addSources(const QStringList &paths);
    /// Leaves, after asking where something would be lost.
    void leave(const std::function<void()> &then);
    QString title() const;

signals:
    /// `problem`: why the keychain did not take the passphrase, or nothing.
    void saved(const moorix::BackupJob &job, const QString &problem);
    void closed();

private:
    QWidget *makeHeader();
    QWidget *makeBody();
    void makeWhat(QVBoxLayout &column);
    void makeWhere(QVBoxLayout &column);
    void makeWhen(QVBoxLayout &column);
    void makeHow(QVBoxLayout &column);
    QWidget *makeFooter();
    QFormLayout *addSection(QVBoxLayout &column, const QString &title);
    /// The place for what is wrong with a field.
    QLabel *makeProblem(BackupField field, QWidget *input);
    void fillPlaces();
    void show(const BackupJob &job);
    void followFields();
    void edited();
    QList<BackupProblem> problems() const;
    bool showProblems();
    void browse();
    void save();

    AppModel &m_model;
    BackupJob m_original;
    Purpose m_purpose;
    MessageBar *m_message;
    QLineEdit *m_name;
    SourceList *m_sources;
    QComboBox *m_place;
    QLineEdit *m_folder;
    ServerFolderPicker *m_picker;
    QComboBox *m_frequency;
    QComboBox *m_weekday;
    QSpinBox *m_monthDay;
    QSpinBox *m_hour;
    QSpinBox *m_minute;
    QCheckBox *m_zip;
    QCheckBox *m_encrypt;
    PassphraseSection *m_passphrase;
    QSpinBox *m_keep;
    QLabel *m_archivePreview;
    QLabel *m_schedulePreview;
    QLabel *m_monthHint;
    QPushButton *m_save = nullptr;
    QFormLayout *m_when = nullptr;
    QFormLayout *m_how = nullptr;
    struct Place
    {
        QLabel *label = nullptr;
        QWidget *input = nullptr;
    };
    QHash<BackupField, Place> m_problems;
    /// Problems are told once somebody has tried to save.
    bool m_hasTried = false;
    bool m_isFilling = false;
};

} // namespace moorix
