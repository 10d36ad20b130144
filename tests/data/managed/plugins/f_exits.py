import sys
sys.exit(3)
