// Symbol look-up of GModule and NSPR.

#include <gmodule.h>
#include <nspr.h>

#include "rows.h"

namespace {

const bench::Rows rows([] {
  bench::Table table("Symbol lookup");
  table.peer("GModule", bench::repeat([module = g_module_open("libc.so.6", G_MODULE_BIND_LOCAL)] {
               gpointer symbol;
               g_module_symbol(module, "getenv", &symbol);
               bench::keep(symbol);
             }));
  table.peer("NSPR", bench::repeat([library = PR_LoadLibrary("libc.so.6")] {
               bench::keep_result(PR_FindSymbol(library, "getenv"));
             }));
});

}  // namespace
