* nothing is defined here
