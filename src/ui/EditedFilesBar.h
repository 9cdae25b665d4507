// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QUuid>

class QLabel;
class QPushButton;

namespace moorix {

class EditedFiles;
struct EditedFile;

/// Asks, inside the window, what becomes of an edited file that could not simply be uploaded. Shown while there is one;
/// the oldest comes first. The keyboard stays where it is.
class EditedFilesBar final : public QFrame
{
    Q_OBJECT

public:
    explicit EditedFilesBar(EditedFiles &files, QWidget *parent = nullptr);

private:
    void follow();
    void show(const EditedFile &file, qsizetype count);
    void chooseCopyPath();

    EditedFiles &m_files;
    QUuid m_shown;
    QString m_shownName;
    QLabel *m_heading;
    QLabel *m_text;
    QPushButton *m_discard;
    QPushButton *m_saveCopy;
    QPushButton *m_keepBoth;
    QPushButton *m_upload;
};

} // namespace moorix
