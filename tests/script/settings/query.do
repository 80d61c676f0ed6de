query
query memory
query trace
query debug
query kiln
query born
query compilenumber
query pagesize
query sortseed
query nosuch
query memory other
q born
