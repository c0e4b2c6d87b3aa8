// A heap array whose allocation can fail without an exception.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

// Owns `Size()` elements of a plain type and frees them by scope. Move-only.
template <typename T>
class CBxHeapArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    CBxHeapArray() = default;
    CBxHeapArray(const CBxHeapArray&) = delete;
    CBxHeapArray& operator=(const CBxHeapArray&) = delete;
    CBxHeapArray(CBxHeapArray&& other) noexcept
        : m_pData(std::exchange(other.m_pData, nullptr)), m_uiSize(std::exchange(other.m_uiSize, 0)) {}
    CBxHeapArray& operator=(CBxHeapArray&& other) noexcept {
        std::swap(m_pData, other.m_pData);
        std::swap(m_uiSize, other.m_uiSize);
        return *this;
    }
    ~CBxHeapArray() { std::free(m_pData); }

    // Replaces the contents by `count` uninitialised elements. False, and an empty array, when memory cannot be had.
    [[nodiscard]] bool Allocate(std::size_t count) {
        Free();
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            return false;
        }
        m_pData = static_cast<T*>(std::malloc(count == 0 ? 1 : count * sizeof(T)));
        m_uiSize = m_pData != nullptr ? count : 0;
        return m_pData != nullptr;
    }

    // The same with every byte zero.
    [[nodiscard]] bool AllocateZeroed(std::size_t count) {
        if (!Allocate(count)) {
            return false;
        }
        std::memset(static_cast<void*>(m_pData), 0, count * sizeof(T));
        return true;
    }

    // Makes room for at least `count` elements; keeps the old ones. False, with the array as it was, without memory.
    [[nodiscard]] bool GrowTo(std::size_t count) {
        if (count <= m_uiSize) {
            return true;
        }
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            return false;
        }
        T* grown = static_cast<T*>(std::realloc(static_cast<void*>(m_pData), count * sizeof(T)));
        if (grown == nullptr) {
            return false;
        }
        m_pData = grown;
        m_uiSize = count;
        return true;
    }

    void Free() {
        std::free(m_pData);
        m_pData = nullptr;
        m_uiSize = 0;
    }

    // Hands the elements over to the caller, who frees them with std::free.
    [[nodiscard]] T* Release() {
        m_uiSize = 0;
        return std::exchange(m_pData, nullptr);
    }

    T* Data() { return m_pData; }
    const T* Data() const { return m_pData; }
    std::size_t Size() const { return m_uiSize; }
    T& operator[](std::size_t index) { return m_pData[index]; }
    const T& operator[](std::size_t index) const { return m_pData[index]; }

private:
    T* m_pData = nullptr;
    std::size_t m_uiSize = 0;
};
