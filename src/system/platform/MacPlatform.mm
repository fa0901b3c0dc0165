#import <Foundation/Foundation.h>

#include <string>

#include "system/platform/Platform.h"

namespace KX::Platform {

std::string HomeFolder() {
    @autoreleasepool {
        // By the full name and not the login name: applications already have their folder where this leads.
        NSString* const home = NSHomeDirectoryForUser(NSFullUserName());
        return home == nil ? std::string() : std::string([home UTF8String]);
    }
}

}  // namespace KX::Platform
