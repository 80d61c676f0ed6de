*! predict: predictions after estimation, by the program the estimates name in e(predict)
program predict
	version 10.1
	if "`e(cmd)'" == "" error 301
	local p "`e(predict)'"
	if "`p'" == "" {
		display as error "predict is not available after `e(cmd)'"
		exit 199
	}
	`p' `0'
end
