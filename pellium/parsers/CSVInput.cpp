#include "pellium/parsers/CSVInput.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace pellium {

std::unique_ptr<FileCSVInput> FileCSVInput::open(const std::string& path, std::string& error) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        error = std::strerror(errno);
        return nullptr;
    }
    return std::unique_ptr<FileCSVInput>(new FileCSVInput(file));
}

FileCSVInput::FileCSVInput(std::FILE* file) : file_(file), buffer_(CHUNK_BYTES) {
    struct stat status {};
    if (fstat(fileno(file_), &status) == 0 && S_ISREG(status.st_mode)) {
        totalBytes_ = static_cast<std::uint64_t>(status.st_size);
    }
}

FileCSVInput::~FileCSVInput() {
    std::fclose(file_);
}

std::string_view FileCSVInput::available() const {
    return std::string_view(buffer_.data() + begin_, end_ - begin_);
}

void FileCSVInput::consume(std::size_t count) {
    begin_ += count;
    consumedBytes_ += count;
}

bool FileCSVInput::fetchMore() {
    if (isAtEnd_) {
        return true;
    }
    // Keep the unconsumed bytes at the front; grow only when they fill more than half the buffer,
    // that is, while one record is longer than half a chunk.
    const std::size_t kept = end_ - begin_;
    std::memmove(buffer_.data(), buffer_.data() + begin_, kept);
    begin_ = 0;
    end_ = kept;
    if (kept > buffer_.size() / 2) {
        buffer_.resize(buffer_.size() * 2);
    }
    const std::size_t read = std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_);
    end_ += read;
    if (read == 0 || std::feof(file_)) {
        if (std::ferror(file_)) {
            return false;
        }
        isAtEnd_ = std::feof(file_) != 0;
    }
    return true;
}

bool FileCSVInput::rewind() {
    begin_ = 0;
    end_ = 0;
    isAtEnd_ = false;
    consumedBytes_ = 0;
    std::clearerr(file_);
    return std::fseek(file_, 0, SEEK_SET) == 0;
}

}  // namespace pellium
