#pragma once

#include <QWidget>

class ComboBox;
class QLabel;
class SigningManager;
class SymbolLabel;

/// The settings of the identity that signs.
class SigningSettingsPage : public QWidget {
    Q_OBJECT
public:
    /// `manager` outlives this widget.
    explicit SigningSettingsPage(SigningManager& manager, QWidget* parent = nullptr);

protected:
    /// The wizard may have been in front, where the user can choose, too.
    bool event(QEvent* event) override;

private:
    void refresh();
    void fillPicker();
    void choose(int index);

    SigningManager& m_manager;
    SymbolLabel* m_statusSymbol;
    QLabel* m_statusText;
    ComboBox* m_picker;
    QWidget* m_scanning;
};
