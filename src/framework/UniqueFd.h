// UniqueFd: a file descriptor closed exactly once, by its owner.
#pragma once

#include <unistd.h>

namespace tessaro {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : mFd(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return mFd; }
    // Closes the descriptor held, if any, and takes fd.
    void reset(int fd = -1) {
        if (mFd >= 0) close(mFd);
        mFd = fd;
    }

private:
    int mFd = -1;
};

}  // namespace tessaro
