#include "http/pendingbudget.h"

PendingBudget::Part::Part(const PendingBudget& budget) : m_state(budget.m_state)
{
    ++m_state->parts;
}

PendingBudget::Part::~Part()
{
    set(0);
    --m_state->parts;
}

void PendingBudget::Part::set(qint64 bytes)
{
    m_state->bytes += bytes - m_bytes;
    m_bytes = bytes;
}

bool PendingBudget::Part::isTooLarge() const
{
    return m_state->bytes > m_state->limit && m_bytes > m_state->limit / m_state->parts;
}
