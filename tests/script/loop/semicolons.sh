# Under #delimit ; the rest of a line after a ';' is the next command, however full the read buffer is.
{ echo '#delimit ;'; for i in $(seq 1 200); do printf 'display "a%d"; display "b%d"; display "c%d";\n' $i $i $i; done; } > semi.do
$ORVAT -q -b do semi.do
echo "results: $(grep -c '^[abc][0-9]*$' semi.log) of 600"
for i in 1 77 200; do grep -q "^b$i\$" semi.log && grep -q "^c$i\$" semi.log && echo "b$i and c$i shown"; done
echo "echoed lines: $(grep -c '^\. display "a' semi.log)"
