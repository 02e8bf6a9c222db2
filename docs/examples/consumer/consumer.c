/* The least program that uses an installed library: prints the version of HALCON that it runs against. */
#include <quovel_adapter_2411/quovel_adapter.h>
#include <stdio.h>

int main(void) {
  const qv_char* version = qv_adapter_halcon_version();
  for (; *version; ++version) putchar((int)*version);
  putchar('\n');
  return 0;
}
