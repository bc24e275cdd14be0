#pragma once

#include <pthread.h>

namespace pellium {

/// A shared mutex that lets a waiting writer in before new readers. The standard shared_mutex
/// lets readers overtake a waiting writer on glibc, so that a steady stream of look-ups can keep
/// a bundle from ever being stored. Holders of the shared lock must not take it again while they
/// hold it (a waiting writer would then block them both). Meets the SharedMutex requirements, so
/// it works with std::shared_lock and std::unique_lock. Internal to the library.
class WriterPreferringSharedMutex {
public:
    WriterPreferringSharedMutex() {
        pthread_rwlockattr_t attributes;
        pthread_rwlockattr_init(&attributes);
#if defined(__GLIBC__)
        pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_WRITER_NONRECURSIVE_NP);
#endif
        pthread_rwlock_init(&lock_, &attributes);
        pthread_rwlockattr_destroy(&attributes);
    }
    ~WriterPreferringSharedMutex() {
        pthread_rwlock_destroy(&lock_);
    }
    WriterPreferringSharedMutex(const WriterPreferringSharedMutex&) = delete;
    WriterPreferringSharedMutex& operator=(const WriterPreferringSharedMutex&) = delete;

    void lock() {
        pthread_rwlock_wrlock(&lock_);
    }
    bool try_lock() {
        return pthread_rwlock_trywrlock(&lock_) == 0;
    }
    void unlock() {
        pthread_rwlock_unlock(&lock_);
    }
    void lock_shared() {
        pthread_rwlock_rdlock(&lock_);
    }
    bool try_lock_shared() {
        return pthread_rwlock_tryrdlock(&lock_) == 0;
    }
    void unlock_shared() {
        pthread_rwlock_unlock(&lock_);
    }

private:
    pthread_rwlock_t lock_;
};

}  // namespace pellium
