#ifndef ORVO_VAR_REPLACER_EXPORT_H
#define ORVO_VAR_REPLACER_EXPORT_H

#include <boost/config.hpp>

/// Marks what liborvo_var_replacer shows to the programs that link it.
#ifdef ORVO_VAR_REPLACER_BUILDING
#define ORVO_VAR_REPLACER_API BOOST_SYMBOL_EXPORT
#else
#define ORVO_VAR_REPLACER_API BOOST_SYMBOL_IMPORT
#endif

#endif
