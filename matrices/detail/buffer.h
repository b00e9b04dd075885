// Internal scratch storage for the dense kernels: an owning, 64-byte aligned, uninitialised array.
// Kept out of the std containers so that no std:: template instantiation leaves the library.
#ifndef ML_MATRICES_DETAIL_BUFFER_H
#define ML_MATRICES_DETAIL_BUFFER_H

#include <cstddef>
#include <new>

namespace ml::detail {

inline constexpr std::size_t kBufferAlignment = 64;

template <class T>
class Buffer {
public:
    Buffer() = default;
    explicit Buffer(std::size_t count) { Reset(count); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { Release(); }

    // Replaces the storage by `count` uninitialised elements (none for 0). Returns false when
    // the allocation fails; the buffer is then empty.
    bool Reset(std::size_t count) {
        Release();
        if (count == 0) return true;
        void* p =
            ::operator new(count * sizeof(T), std::align_val_t(kBufferAlignment), std::nothrow);
        if (!p) return false;
        m_data = static_cast<T*>(p);
        m_size = count;
        return true;
    }
    T* Get() { return m_data; }
    const T* Get() const { return m_data; }
    std::size_t Size() const { return m_size; }
    T& operator[](std::size_t i) { return m_data[i]; }
    const T& operator[](std::size_t i) const { return m_data[i]; }

private:
    void Release() {
        if (m_data) ::operator delete(m_data, std::align_val_t(kBufferAlignment));
        m_data = nullptr;
        m_size = 0;
    }

    T* m_data = nullptr;
    std::size_t m_size = 0;
};

}  // namespace ml::detail

#endif  // ML_MATRICES_DETAIL_BUFFER_H
