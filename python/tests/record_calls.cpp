// SPDX-License-Identifier: Apache-2.0
//
// Runs the catalogue of calls and writes down what goes in and what comes out, for the tests that repeat
// the calls from Python:
//
//     record_calls <directory>
//
// `calls.json`, and `host_calls.json` for the host tools, hold a list of calls {"function", "options", "entry", "status", "return"}. An argument is
// a number, or {"type", "shape", "ld", "at"}: its numbers stand in `calls.bin` from byte "at" on, column
// by column, those of the host tools in `host_calls.bin`. Equal contents are written once.
#include "every_function/calls.h"
#include "host_calls.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

namespace {

using namespace zel_test::every_function;

class recorder final : public listener {
public:
    explicit recorder(const std::string& path)
        : index_(path + ".json"), data_(path + ".bin", std::ios::binary) {
        index_ << "[\n";
    }
    void record(const call& c) {
        entry_.str({});
        return_.str({});
        calls_ = 0;
        now_ = &entry_;
        c.run({});
        if (calls_ != 1) return; // a call of several functions
        index_ << (first_ ? "" : ",\n") << "{\"function\": \"" << c.function
               << "\", \"options\": \"" << c.options << "\", \"entry\": [" << entry_.str()
               << "], \"status\": " << status_ << ", \"return\": [" << return_.str() << "]}";
        first_ = false;
    }
    bool finish() {
        index_ << "\n]\n";
        index_.flush();
        data_.flush();
        return index_.good() && data_.good();
    }

    void entered() override { ++calls_; }
    void returned(double status) override {
        status_ = status;
        now_ = &return_;
    }
    void value(const zel::dense2D<double>& m) override { matrix("float64", m); }
    void value(const zel::dense2D<unsigned>& m) override { matrix("uint32", m); }
    void value(const zel::dense1D<double, 8>& v) override { list("float64", v.data(), v.size); }
    void value(const zel::dense1D<unsigned, 8>& v) override { list("uint32", v.data(), v.size); }
    void value(double x) override { list("number", &x, 1); }
    void value(long long x) override { item() << x; }
    void vector(const double* x, std::size_t n) override { list("float64", x, n); }
    void other() override { item() << "null"; }

private:
    std::ostream& item() {
        if (now_->tellp() > 0) *now_ << ", ";
        return *now_;
    }
    template <class T>
    void matrix(const char* type, const zel::dense2D<T>& m) {
        std::string bytes;
        for (std::size_t j = 0; j < m.cols && m.rows > 0; ++j)
            bytes.append(reinterpret_cast<const char*>(m[j]), m.rows * sizeof(T));
        item() << "{\"type\": \"" << type << "\", \"shape\": [" << m.cols << ", " << m.rows
               << "], \"ld\": " << m.ld << ", \"at\": " << place(bytes) << "}";
    }
    template <class T>
    void list(const char* type, const T* x, std::size_t n) {
        const std::string bytes =
            n == 0 ? std::string() : std::string(reinterpret_cast<const char*>(x), n * sizeof(T));
        item() << "{\"type\": \"" << type << "\", \"shape\": [" << n
               << "], \"ld\": 1, \"at\": " << place(bytes) << "}";
    }
    std::size_t place(const std::string& bytes) {
        const auto [where, is_new] = places_.emplace(bytes, size_);
        if (!is_new) return where->second;
        data_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        data_.write("\0\0\0\0\0\0\0", static_cast<std::streamsize>((8 - bytes.size() % 8) % 8));
        size_ += (bytes.size() + 7) / 8 * 8;
        return where->second;
    }

    std::ofstream index_;
    std::ofstream data_;
    std::map<std::string, std::size_t> places_{};
    std::size_t size_ = 0;
    std::ostringstream entry_{}, return_{};
    std::ostringstream* now_ = nullptr;
    double status_ = 0;
    int calls_ = 0;
    bool first_ = true;
};

/// Runs all calls and writes them to `path`.json and `path`.bin.
bool record(const std::vector<call>& calls, const std::string& path) {
    recorder r(path);
    listener::present = &r;
    for (const call& c : calls) r.record(c);
    listener::present = nullptr;
    return r.finish();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::cerr << "record_calls <directory>\n", 2;
    const std::string directory = argv[1];
    const bool done = record(all_calls(), directory + "/calls") &&
                      record(tessel2d_python::host_calls(), directory + "/host_calls");
    return done ? 0 : 1;
}
