#pragma once

#include <istream>
#include <string>

// What Linux's own answers mean. Pure functions of what LinuxPlatform.cpp has asked for, so that they are tested
// everywhere. Any thread; std::bad_alloc may leave.
namespace KX::Platform {

// The bundle of the program of that path: "/a/X.app" of "/a/X.app/Contents/MacOS/X", else the folder that holds it.
// Empty of a path that is not absolute.
std::string BundleOfProgram(const std::string& program);

// The folder for the data of the user's applications, as freedesktop.org's base directories have it: the environment's
// XDG_DATA_HOME, which does not count where it is missing (null) or not absolute, else .local/share in the home folder;
// empty where neither is absolute.
std::string DataFolder(const char* xdgDataHome, const std::string& home);

// kReachable where the table, in the form of /proc/net/route, has a default route that is up and does not refuse; else
// no bit.
unsigned int ReachabilityByRoutes(std::istream& routes);

}  // namespace KX::Platform
