#pragma once

/// Runs Mach-O libraries in a Linux process: maps an image, binds it to what the process has and
/// makes its Objective-C part of GCC's runtime. docs/loader.md says how, and what is left out.

#ifdef __cplusplus
extern "C" {
#endif

/// An image that is part of the process. It stays until the process ends: the runtime never lets go
/// of a class.
typedef struct VLImage VLImage;

/// Loads the library at `path`, thin or fat, and returns it. What it imports has to be in the
/// process by then, in the program, its shared objects or images loaded before; the first one in
/// that order serves, whatever library the image names. The same file loaded again is a second
/// image, which fails where it brings classes.
///
/// Returns NULL where that cannot be done, and then, unless `error` is NULL, stores one line
/// without its end, "PATH: REASON", which the caller frees. Nothing of the image is left in the
/// process then.
///
/// May be called from any thread; one image is loaded at a time.
VLImage *VLImageLoad(const char *path, char **error);

/// Returns where the image keeps the function or variable that it exports under `name`, as C spells
/// it, without Mach-O's underscore; NULL where it exports none. Classes are found by the runtime's
/// means. The image owns what is returned. May be called from any thread.
void *VLImageFindSymbol(const VLImage *image, const char *name);

#ifdef __arm__
/// What the unwinder asks __gnu_Unwind_Find_exidx() for, of images too: returns the table for the
/// code at `address`, and stores its number of entries. The unwinder takes the first function of
/// that name, from the program on: so that exceptions pass through images, the program or a library
/// that it names before the C library has to define it by way of this one. Linking with this
/// library first does.
const void *VLImageFindUnwindTable(const void *address, int *count);
#endif

#ifdef __cplusplus
}
#endif
