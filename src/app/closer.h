#pragma once

/// Deleter of a `std::unique_ptr` to a handle of a C library that `closeFunction` gives back.
template <auto closeFunction>
struct Closer {
    void operator()(auto *handle) const noexcept { closeFunction(handle); }
};
