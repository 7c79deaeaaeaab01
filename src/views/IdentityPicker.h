#pragma once

#include "signing/SigningIdentity.h"
#include "views/ComboBox.h"

#include <optional>

class SigningManager;

/// Chooses one of the scanned identities. Asks for a scan when there is none yet, and takes up the
/// remembered choice with each new list.
class IdentityPicker : public ComboBox {
    Q_OBJECT
public:
    /// `manager` outlives this widget.
    explicit IdentityPicker(SigningManager& manager, QWidget* parent = nullptr);

    const std::optional<SigningIdentity>& selectedIdentity() const { return m_selected; }

signals:
    /// The user has chosen; nothing for the empty entry.
    void identityChosen(const std::optional<SigningIdentity>& identity);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void takeUpList();
    void choose(int index);
    void fill();

    SigningManager& m_manager;
    std::optional<SigningIdentity> m_selected;
};
