# A class file found on first use through a directory of the ado path, in its letter directory.
mkdir -p mine/v
cat > mine/v/vec.class <<'EOF2'
*! vec: two numbers
version 10
class vec {
    double x = 1
    double y = 2
}
program .sum
    class exit = `.x' + `.y'
end
EOF2
cat > run.do <<'EOF2'
.v = .vec.new
global S_ADO "BASE;mine"
.v = .vec.new
display "`.v.sum'"
_cls pgmdir
EOF2
HOME=$PWD $ORVAT -q -b do run.do, nostop
cat run.log
