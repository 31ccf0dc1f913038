"""Loading the library runs nothing of its own: the only constructors are those with which the
compiler hands each Objective-C module to the runtime."""
import re
import subprocess
import sys

library = sys.argv[1]
table = subprocess.run(['nm', '--defined-only', library], check=True, capture_output=True, text=True).stdout
own = [line for line in table.splitlines()
       if re.search(r' (_GLOBAL__sub_I|__cxx_global_var_init)|\+\[?\w+ load\]|_c_\w+__load$', line)]
print('\n'.join(own))
sys.exit(bool(own))
