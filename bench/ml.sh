#!/usr/bin/env bash
# ml model lf with a logit evaluator written in the command language, on 100,000 observations,
# beside the built-in logit on the same data; and the same likelihood maximised by Rscript's optim
# (BFGS, analytic gradient) and by statsmodels' Logit under /usr/bin/python3. Each figure of this
# system is the time of a session that makes the data and fits once, less one that only makes the
# data; best of three. The peers time the fit alone, best of three.
# On the development machine (2 cores, shared): ml 499 ms, built-in logit 130 ms (3.8 times),
# R optim BFGS 1073 ms (0.47), statsmodels Logit 109 ms (4.6).
. "$(dirname "$0")/lib.sh"
n=100000
make='set obs '$n'
forvalues j = 1/3 {
generate double x`j'"'"' = mod(_n * `j'"'"', 97) / 7 + sin(_n * `j'"'"')
}
generate double u = mod(_n * 7919, 10007) / 10007
generate byte yb = u < invlogit(0.2 * (x1 - x2) + 0.1 * x3 - 0.7)
program mylogit
args lnf xb
quietly replace `lnf'"'"' = ln(invlogit(`xb'"'"')) if $ML_y1 != 0
quietly replace `lnf'"'"' = ln(invlogit(-`xb'"'"')) if $ML_y1 == 0
end'
printf '%s\n' "$make" >base.do
{ printf '%s\n' "$make"; echo "ml model lf mylogit (yb = x1 x2 x3)"; echo "quietly ml maximize"; } >ml.do
{ printf '%s\n' "$make"; echo "quietly logit yb x1 x2 x3"; } >logit.do
tb=$(best base.do)
tm=$(( $(best ml.do) - tb ))
tl=$(( $(best logit.do) - tb ))
echo "ml lf logit, 3 regressors (1e5 obs): $tm ms"
echo "built-in logit (1e5 obs):             $tl ms (ml/logit $(awk "BEGIN{printf \"%.1f\", $tm/($tl>0?$tl:1)}"))"
if command -v Rscript >/dev/null 2>&1; then
    tr=$(Rscript -e 'n <- 1e5; i <- 1:n
        X <- cbind(1, sapply(1:3, function(j) (i * j) %% 97 / 7 + sin(i * j)))
        u <- ((i * 7919) %% 10007) / 10007; y <- as.integer(u < plogis(0.2 * (X[,2] - X[,3]) + 0.1 * X[,4] - 0.7))
        nll <- function(b) { xb <- X %*% b; -sum(ifelse(y == 1, plogis(xb, log.p = TRUE), plogis(-xb, log.p = TRUE))) }
        gr <- function(b) -colSums((y - plogis(X %*% b))[,1] * X)
        best <- Inf
        for (r in 1:3) best <- min(best, system.time(optim(rep(0, 4), nll, gr, method = "BFGS"))[["elapsed"]])
        cat(round(best * 1000))' 2>/dev/null || echo "")
    [ -n "$tr" ] && echo "R optim BFGS:                         $tr ms (ratio $(awk "BEGIN{printf \"%.2f\", $tm/$tr}"))"
fi
if /usr/bin/python3 -c 'import statsmodels' 2>/dev/null; then
    tp=$(/usr/bin/python3 - <<'PY'
import time, numpy as np, statsmodels.api as sm
n = 100000; i = np.arange(1, n + 1)
X = np.column_stack([np.ones(n)] + [(i * j) % 97 / 7 + np.sin(i * j) for j in (1, 2, 3)])
u = ((i * 7919) % 10007) / 10007
y = (u < 1 / (1 + np.exp(-(0.2 * (X[:, 1] - X[:, 2]) + 0.1 * X[:, 3] - 0.7)))).astype(float)
best = 1e9
for r in range(3):
    s = time.perf_counter(); sm.Logit(y, X).fit(disp=0); best = min(best, time.perf_counter() - s)
print(round(best * 1000))
PY
)
    echo "statsmodels Logit:                    $tp ms (ratio $(awk "BEGIN{printf \"%.2f\", $tm/$tp}"))"
fi
