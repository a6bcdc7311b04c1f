// SPDX-License-Identifier: MIT
#ifndef API_VERSION_H
#define API_VERSION_H

/* The version of the library, for C and C++. A program can compare what it was compiled with to
   what it runs with: vantrel::version() and vantrel_version() give the latter. The build takes its
   version from these three numbers. */

#define VANTREL_VERSION_MAJOR 0
#define VANTREL_VERSION_MINOR 1
#define VANTREL_VERSION_PATCH 0

/* As one number, for comparisons: 0.1.0 is 100. */
#define VANTREL_VERSION_NUMBER                                                                     \
    (VANTREL_VERSION_MAJOR * 10000 + VANTREL_VERSION_MINOR * 100 + VANTREL_VERSION_PATCH)

#endif
