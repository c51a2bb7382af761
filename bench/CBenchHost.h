#pragma once

#include <cstddef>
#include <string>

// The host that is measured: a tree below KZM_ROOT with good settings files, an agent whose
// commands are /bin/true, and as many file systems as asked for, each with a FSNAME line; every
// third is not monitored.
class CBenchHost {
public:
    // Lays the tree out, unless it is laid out for this number already. The mount command is one
    // that prints the prepared table and does nothing else.
    static void Prepare(std::size_t fileSystems);

    // The same with real mounts: as many tmpfs in a mount namespace of this process, listed by the
    // machine's own mount command. To be called once, before anything else. False when this process
    // may not mount.
    static bool PrepareRealMounts(std::size_t fileSystems);

    static std::string MountPoint(std::size_t number);

private:
    static void LayOut(std::size_t fileSystems);
};
