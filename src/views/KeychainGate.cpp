#include "views/KeychainGate.h"

#include <utility>

KeychainGate::KeychainGate(KeychainPrimerSheet::Host host, QWidget* screen)
    : QObject(screen)
    , m_host(host)
    , m_screen(screen)
    , m_keychainManager(host.probe)
{ }

void KeychainGate::pass(std::function<void()> sign)
{
    if (!std::exchange(m_isAsking, true))
        ask(this, std::move(sign));
}

void KeychainGate::setProbing(bool probing)
{
    m_isProbing = probing;
    emit isProbingChanged();
}

QCoro::Task<> KeychainGate::ask(QPointer<KeychainGate> self, std::function<void()> sign)
{
    self->setProbing(true);
    const bool hasAccess = co_await self->m_keychainManager.checkAccess();
    if (!self)
        co_return;
    self->setProbing(false);
    if (hasAccess) {
        self->m_isAsking = false;
        sign();
        co_return;
    }
    auto* sheet = new KeychainPrimerSheet(self->m_host, self->m_screen, [self, sign] {
        if (self)
            sign();
    });
    connect(sheet, &Sheet::dismissed, self, [gate = self.data()] { gate->m_isAsking = false; });
    connect(self->m_screen, &QObject::destroyed, sheet, &Sheet::dismiss); // nobody to sign for
    sheet->present();
}
