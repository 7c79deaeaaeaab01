#include "platform/Cancellation.h"

void Cancellation::request()
{
    if (m_requested)
        return;
    m_requested = true;
    emit requested();
}
