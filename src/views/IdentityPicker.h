#pragma once

#include "signing/SigningIdentity.h"
#include "views/ComboBox.h"

#include <optional>

class SigningManager;

/// Chooses one of the scanned identities. Takes up the remembered choice with each new list.
class IdentityPicker : public ComboBox {
    Q_OBJECT
public:
    /// `manager` outlives this widget.
    explicit IdentityPicker(SigningManager& manager, QWidget* parent = nullptr);

    /// For the moment in which its screen appears: on a later turn, asks for a scan unless there is
    /// a list, and else takes up that one.
    void prepare();
    const std::optional<SigningIdentity>& selectedIdentity() const { return m_selected; }

signals:
    /// The user has chosen; nothing for the empty entry.
    void identityChosen(const std::optional<SigningIdentity>& identity);

private:
    void takeUpList();
    void choose(int index);
    void fill();

    SigningManager& m_manager;
    std::optional<SigningIdentity> m_selected;
};
