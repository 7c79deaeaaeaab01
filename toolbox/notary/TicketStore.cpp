#include "notary/TicketStore.h"

namespace notary {

namespace {

constexpr const char* folderName = "tickets";

std::string fileName(const TicketHash& hash)
{
    return std::to_string(hash.type) + "-" + hash.hex();
}

} // namespace

TicketStore::TicketStore(const std::filesystem::path& stateFolder)
    : m_folder(stateFolder / folderName)
{ }

std::optional<TicketStore> TicketStore::ifThere(const std::filesystem::path& stateFolder)
{
    if (!std::filesystem::exists(stateFolder / folderName))
        return std::nullopt;
    return TicketStore(stateFolder);
}

void TicketStore::put(const TicketHash& hash, std::span<const std::byte> ticket) const
{
    m_folder.write(fileName(hash), {reinterpret_cast<const char*>(ticket.data()), ticket.size()});
}

std::optional<std::vector<std::byte>> TicketStore::find(const TicketHash& hash) const
{
    if (!m_folder.has(fileName(hash)))
        return std::nullopt;
    const std::string text = m_folder.read(fileName(hash));
    const auto raw = std::as_bytes(std::span(text));
    return std::vector<std::byte>(raw.begin(), raw.end());
}

} // namespace notary
