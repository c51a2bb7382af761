#include "serverbase/CMemoryBudget.h"

namespace daemon_base {

void CMemoryBudget::SetLimit(std::size_t limit) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_limit = limit;
}

bool CMemoryBudget::Take(std::size_t bytes) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (bytes != 0 && (bytes > m_limit || m_taken > m_limit - bytes)) {
        return false;
    }
    m_taken += bytes;
    return true;
}

void CMemoryBudget::GiveBack(std::size_t bytes) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_taken -= bytes;
}

CMemoryShare& CMemoryShare::operator=(CMemoryShare&& other) noexcept {
    std::swap(m_budget, other.m_budget);
    std::swap(m_bytes, other.m_bytes);
    return *this;
}

bool CMemoryShare::Take(std::size_t bytes) {
    Release();
    if (!m_budget->Take(bytes)) {
        return false;
    }
    m_bytes = bytes;
    return true;
}

void CMemoryShare::Release() {
    m_budget->GiveBack(std::exchange(m_bytes, 0));
}

} // namespace daemon_base
