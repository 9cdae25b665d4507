// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <array>
#include <optional>

class QCheckBox;
class QLineEdit;

namespace moorix {

/// Nine check boxes and an octal number that say the same. Main thread.
class PermissionsEditor final : public QWidget
{
    Q_OBJECT

public:
    explicit PermissionsEditor(QWidget *parent = nullptr);

    /// Shows "rwxr-xr-x"; nothing, or a text of another form, leaves the number empty.
    void setPermissions(const std::optional<QString> &permissions);
    /// Three or four octal digits, or nothing while the number is not one.
    std::optional<QString> octal() const;

signals:
    void changed();

private:
    void takeBoxes();
    void takeNumber();

    QLineEdit *m_number;
    /// Owner, group, others; read, write, execute each.
    std::array<QCheckBox *, 9> m_boxes{};
    /// Set-user-id, set-group-id and sticky, as the number's first digit; the boxes leave them alone.
    QString m_specialDigit;
};

} // namespace moorix
