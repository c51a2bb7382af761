#pragma once

// True when nobody holds the provider lock. Makes the lock file when there is none.
bool IsLockFree();
