#!/bin/sh
# Whole reports against a real name server: the cases below report/, compared as
# tests/cli/run_case.sh does, and the queries that each of them costs.
#
#   report_test.sh RUN_CASE PROGRAM
names='192.0.2.1 www.example.com
198.51.100.7 shop.example.org'
. "$(dirname "$0")/name_server.sh"
run_case=$1
program=$2
cases=$(dirname "$0")/report

check() {  # CASE QUERIES
  before=$(queries)
  "$run_case" "$program" "$cases/$1.case" || fail "$1"
  expect "queries of $1" "$2" $(($(queries) - before))
  ran=$((ran + 1))
}

ran=0
check filter_of_names_is_asked_again_after_the_lookup 3
check no_filter_looks_up_for_the_domain_reports 3
check filter_of_addresses_comes_before_the_lookup 2
check no_domain_report_asks_nothing 0
check key_counts_while_the_form_leaves_zero 3
check key_cannot_switch_off_what_the_form_switched_on 3
check account_switches_off_what_the_key_above_switched_on 0
check numeric_requester_is_looked_up_for_a_list_of_names 1
check requester_without_a_name_is_tested_by_address 1
check list_of_addresses_needs_no_lookup 0
expect 'cases' "$(ls "$cases" | wc -l | tr -d ' ')" $ran
