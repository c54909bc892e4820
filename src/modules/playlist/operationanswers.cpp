#include "operationanswers.h"

#include <utility>

void OperationAnswers::set(std::deque<Operation> operations)
{
    const std::lock_guard lock(m_mutex);
    m_operations = std::move(operations);
    m_answers.clear();
    for (const Operation& operation : m_operations)
        m_answers.insert(operation.text, operation.answer);
}

void OperationAnswers::add(const Operation& operation)
{
    const std::lock_guard lock(m_mutex);
    m_operations.push_back(operation);
    m_answers.insert(operation.text, operation.answer);
    if (m_operations.size() <= QueueStore::mostOperations)
        return;
    m_answers.remove(m_operations.front().text);
    m_operations.pop_front();
}

std::optional<QVariantHash> OperationAnswers::find(const QString& text) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_answers.constFind(text);
    return found == m_answers.cend() ? std::nullopt : std::optional<QVariantHash>(*found);
}
