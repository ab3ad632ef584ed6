"""The library exports what its header declares and nothing else."""

import re
import subprocess
import sys

EXPORTS = 45

nm, library, header = sys.argv[1:4]
lines = subprocess.run([nm, "-D", "--defined-only", library], check=True, capture_output=True, text=True)
exported = {line.split()[-1].split("@")[0] for line in lines.stdout.splitlines()}
declared = set(re.findall(r"MORVA_API [^;(]*?(morva_\w+)\(", open(header).read()))
print("exported but not declared:", sorted(exported - declared))
print("declared but not exported:", sorted(declared - exported))
print("exported:", len(exported), "of", EXPORTS)
sys.exit(exported != declared or len(exported) != EXPORTS)
