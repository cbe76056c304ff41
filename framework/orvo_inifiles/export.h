#ifndef ORVO_INIFILES_EXPORT_H
#define ORVO_INIFILES_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_inifiles shows to the programs that link it.
#ifdef ORVO_INIFILES_BUILDING
#define ORVO_INIFILES_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_INIFILES_API BOOST_SYMBOL_IMPORT
#endif

#endif
