/// \file
/// libPlenar: export macro and library version.
///
/// The shared library is built with hidden visibility; every public class, free
/// function and global carries PLENAR_API so that exactly the public interface is
/// exported and internal helpers stay private to the library.
#ifndef PLENAR_GEOMETRY_EXPORT_H
#define PLENAR_GEOMETRY_EXPORT_H

#if defined(_WIN32)
#if defined(PLENAR_BUILDING_LIBRARY)
#define PLENAR_API __declspec(dllexport)
#else
#define PLENAR_API __declspec(dllimport)
#endif
#else
/// Marks a class, function or global as part of the exported interface.
#define PLENAR_API __attribute__((visibility("default")))
#endif

/// Major version: the SONAME is libPlenar.so.16.
#define PLENAR_VERSION_MAJOR 16
/// Minor version.
#define PLENAR_VERSION_MINOR 0
/// Build number of this release.
#define PLENAR_VERSION_PATCH 19913

#endif
