#pragma once
/// \file FileLock.h
/// Advisory file locks between processes.

namespace tarvio {

int filesync_lock(const char* path, int* fd);         ///< blocking; 0 when the lock failed
int filesync_lock_nosync(const char* path, int* fd);  ///< non-blocking
void filesync_unlock(int fd);

}  // namespace tarvio
