// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QTimer>
#include <QUuid>

class QBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;

namespace moorix {

class EditedFiles;
struct EditedFile;

/// Asks, inside the window, what becomes of an edited file that could not simply be uploaded, and shows uploads that
/// take their time. Shown while there is something to be shown; the oldest comes first. The keyboard stays where it is.
class EditedFilesBar final : public QFrame
{
    Q_OBJECT

public:
    explicit EditedFilesBar(EditedFiles &files, QWidget *parent = nullptr);

private:
    QBoxLayout *makeQuestion();
    QBoxLayout *makeUpload();
    void follow();
    void showUpload(const EditedFile &file, qsizetype count);
    void show(const EditedFile &file, qsizetype count);
    void chooseCopyPath();

    EditedFiles &m_files;
    QUuid m_shown;
    QString m_shownName;
    QWidget *m_question;
    QLabel *m_heading;
    QLabel *m_text;
    QPushButton *m_discard;
    QPushButton *m_saveCopy;
    QPushButton *m_keepBoth;
    QPushButton *m_upload;
    QUuid m_uploading;
    QWidget *m_uploadLine;
    QLabel *m_uploadText;
    QProgressBar *m_progress;
    QTimer m_tick;
};

} // namespace moorix
