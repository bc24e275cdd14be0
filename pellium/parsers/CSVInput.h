#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellium {

/// The bytes a CSV reader scans: a window over the input that the reader consumes record by
/// record and asks to extend when a record runs past its end. Internal to CSVDataSetReader.
class CSVInput {
public:
    virtual ~CSVInput() = default;

    /// The bytes available and not yet consumed.
    virtual std::string_view available() const = 0;
    /// Whether no bytes follow available().
    virtual bool isFinal() const = 0;
    virtual void consume(std::size_t count) = 0;
    /// Makes more bytes available, keeping the unconsumed ones; false when reading failed.
    virtual bool fetchMore() = 0;
    /// Starts again at the first byte; false when that failed.
    virtual bool rewind() = 0;
    /// The size of the whole input, when known.
    virtual std::optional<std::uint64_t> getTotalBytes() const = 0;
    /// The bytes consumed since the start (or the last rewind).
    virtual std::uint64_t getConsumedBytes() const = 0;
};

/// Text already in memory, scanned in place.
class MemoryCSVInput final : public CSVInput {
public:
    explicit MemoryCSVInput(std::string_view text) : text_(text) {}

    std::string_view available() const override { return text_.substr(position_); }
    bool isFinal() const override { return true; }
    void consume(std::size_t count) override { position_ += count; }
    bool fetchMore() override { return true; }
    bool rewind() override {
        position_ = 0;
        return true;
    }
    std::optional<std::uint64_t> getTotalBytes() const override { return text_.size(); }
    std::uint64_t getConsumedBytes() const override { return position_; }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

/// A file read in chunks into one buffer, which grows only while a single record does not fit.
class FileCSVInput final : public CSVInput {
public:
    static constexpr std::size_t CHUNK_BYTES = std::size_t{1} << 20;

    /// Null when the file cannot be opened; `error` then holds the system's reason.
    static std::unique_ptr<FileCSVInput> open(const std::string& path, std::string& error);

    ~FileCSVInput() override;

    std::string_view available() const override;
    bool isFinal() const override { return isAtEnd_; }
    void consume(std::size_t count) override;
    bool fetchMore() override;
    bool rewind() override;
    std::optional<std::uint64_t> getTotalBytes() const override { return totalBytes_; }
    std::uint64_t getConsumedBytes() const override { return consumedBytes_; }

private:
    explicit FileCSVInput(std::FILE* file);

    std::FILE* file_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;  // the unconsumed bytes are [begin_, end_)
    std::size_t end_ = 0;
    bool isAtEnd_ = false;
    std::uint64_t consumedBytes_ = 0;
    std::optional<std::uint64_t> totalBytes_;
};

}  // namespace pellium
