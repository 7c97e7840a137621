// Operator new and delete through the C allocator, which allocation_faults.h watches. In a file of
// their own: where the compiler sees into them, it takes them for a mismatched pair.
#include <cstdlib>
#include <new>

void* operator new(std::size_t bytes) {
    if (void* memory = std::malloc(bytes)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return std::malloc(bytes);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
