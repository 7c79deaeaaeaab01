#pragma once

#include "keychain/PrivateFolder.h"
#include "notary/Ticket.h"

#include <filesystem>
#include <optional>

namespace notary {

/// The tickets that this host knows: those of its local authority, and those of the public service
/// that were fetched before. Owner-only files in `tickets` below the state folder.
class TicketStore {
public:
    /// Throws std::system_error when the folder can't be made or belongs to somebody else.
    explicit TicketStore(const std::filesystem::path& stateFolder);
    /// None when nothing was ever kept there; makes nothing.
    static std::optional<TicketStore> ifThere(const std::filesystem::path& stateFolder);

    const keychain::PrivateFolder& folder() const { return m_folder; }

    /// `ticket` is found by `hash` from now on.
    void put(const TicketHash& hash, std::span<const std::byte> ticket) const;
    std::optional<std::vector<std::byte>> find(const TicketHash& hash) const;

private:
    keychain::PrivateFolder m_folder;
};

} // namespace notary
