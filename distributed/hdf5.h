// SPDX-License-Identifier: Apache-2.0
// Handles of HDF5 that close themselves.
#pragma once

#include <hdf5.h>

namespace zel::distributed {

/// Closes by `Close` what it holds, unless that is none.
template <herr_t (*Close)(hid_t)>
class hdf5_handle {
public:
    explicit hdf5_handle(hid_t handle = H5I_INVALID_HID) : id(handle) {}
    hdf5_handle(const hdf5_handle&) = delete;
    hdf5_handle& operator=(const hdf5_handle&) = delete;
    ~hdf5_handle() { close(); }

    operator hid_t() const { return id; } // NOLINT(google-explicit-constructor)
    bool stands() const { return id >= 0; }
    /// Returns false if HDF5 reports a failure, which for files includes writing what it has held back.
    bool close() {
        const bool well = id < 0 || Close(id) >= 0;
        id = H5I_INVALID_HID;
        return well;
    }

private:
    hid_t id;
};

using hdf5_file = hdf5_handle<H5Fclose>;
using hdf5_group = hdf5_handle<H5Gclose>;
using hdf5_data = hdf5_handle<H5Dclose>;
using hdf5_space = hdf5_handle<H5Sclose>;
using hdf5_type = hdf5_handle<H5Tclose>;
using hdf5_properties = hdf5_handle<H5Pclose>;

/// While one of these lives, HDF5 returns its failures and prints nothing.
class quiet_hdf5 {
public:
    quiet_hdf5() {
        H5Eget_auto2(H5E_DEFAULT, &print, &client);
        H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    }
    ~quiet_hdf5() { H5Eset_auto2(H5E_DEFAULT, print, client); }
    quiet_hdf5(const quiet_hdf5&) = delete;
    quiet_hdf5& operator=(const quiet_hdf5&) = delete;

private:
    H5E_auto2_t print = nullptr;
    void* client = nullptr;
};

/// Moves at most so many bytes at a time, since MPI counts in 31 bits.
constexpr hsize_t bytes_at_a_time = hsize_t{1} << 28;

/// Calls `move(first row, rows, offset of the first row in words)` for pieces of `length` rows of `width` words;
/// stops at the first that returns false.
template <class Move>
bool in_pieces(hsize_t length, hsize_t width, Move&& move) {
    const hsize_t fit = bytes_at_a_time / (8 * (width ? width : 1));
    const hsize_t most = fit ? fit : 1;
    for (hsize_t done = 0; done < length; done += most)
        if (!move(done, length - done < most ? length - done : most, done * width)) return false;
    return true;
}

} // namespace zel::distributed
