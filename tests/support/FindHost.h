#pragma once

// Shell code for a vendor's command: afterwards $host is the process that runs the command. It is
// not the command's parent, but the parent's parent.
inline constexpr char kFindHost[] = "read -r id name state host rest < /proc/$PPID/stat; ";
