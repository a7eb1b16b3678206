"""What the report computes, on made-up results."""

import unittest
import xml.dom.minidom

import chart
import figures
import limits
import prediction
import report
import tables


def cost(wall, cpu=1.0, count=10, handshakes=0, resumed=0):
    return {"wall": wall, "cpu": cpu, "managerCpu": 0.5, "transfers": count, "requests": count,
            "connections": count, "handshakes": handshakes, "resumed": resumed}


def result(shape="plain-1000", transport="http", stand_ins="real", rounds=None, **more):
    made = {"task": "measure", "shape": shape, "transport": transport, "standIns": stand_ins,
            "machines": 1000, "disks": 2000, "hosts": 40, "standaloneHosts": 2, "clusters": 4,
            "datastores": 40, "requests": 10,
            "rounds": rounds or [{"bare": cost(1.0), "parse": cost(1.5), "engine": cost(1.6)}]}
    made.update(more)
    return made


class Figures(unittest.TestCase):
    def test_a_ratio_is_taken_within_each_round(self):
        rounds = [{"bare": cost(1.0), "engine": cost(2.0)},
                  {"bare": cost(10.0), "engine": cost(30.0)},  # a round on a busy machine
                  {"bare": cost(1.0), "engine": cost(2.2)}]
        self.assertAlmostEqual(
            figures.median_ratio(result(rounds=rounds), "engine", "bare", "wall"), 2.2)

    def test_both_ends_count_what_is_beyond_the_list(self):
        rounds = [{"bare": cost(1.0), "engine": dict(cost(1.0), transfers=12, requests=9)}]
        self.assertEqual(figures.beyond_the_list(result(rounds=rounds)), 3)

    def test_the_first_handshake_has_no_session_to_take_up(self):
        self.assertEqual(figures.not_resumed(result(fullHandshakes=1)), 0)
        self.assertEqual(figures.not_resumed(result(fullHandshakes=3)), 2)

    def test_logging_is_what_the_host_and_the_statements_cost(self):
        scan = result(rounds=[{"engine": cost(1, cpu=2.0)}], logStatements=1000000)
        real, null = {"instructions": 2000}, {"instructions": 1950}
        self.assertAlmostEqual(figures.logging_share(real, null, scan), 0.025)
        self.assertAlmostEqual(figures.logging_share(real, null, scan, statement_ns=10), 0.03)


class Limits(unittest.TestCase):
    def test_a_value_at_the_limit_is_met(self):
        self.assertEqual(limits.Check("", 1.20, 1.20).verdict(), "met")
        self.assertEqual(limits.Check("", 1.21, 1.20).verdict(), "not met")
        self.assertEqual(limits.Check("", None, 1.20).verdict(), "not measured")

    def test_one_check_that_fails_decides(self):
        good, bad, none = (limits.Check("", value, 1) for value in (0, 2, None))
        self.assertEqual(limits.verdict([good, none, bad]), "not met")
        self.assertEqual(limits.verdict([good, none]), "not measured")
        self.assertEqual(limits.verdict([good, good]), "met")

    def test_nothing_is_met_without_results(self):
        for _, _, checks in limits.figures(limits.Results([])):
            self.assertEqual(limits.verdict(checks), "not measured")

    def test_growth_compares_the_ratios_of_two_sites(self):
        small = result("plain-1000", rounds=[{"bare": cost(1.0), "engine": cost(1.5)}])
        large = result("plain-50000", rounds=[{"bare": cost(10.0, cpu=4), "engine": cost(18, cpu=4)}])
        checks = limits.growth(limits.Results([small, large]))
        self.assertAlmostEqual(checks[0].value, 1.2)
        self.assertEqual([check.verdict() for check in checks], ["not met", "met"])

    def test_large_answers_have_no_limit(self):
        def figure(*shapes):
            rounds = [{"bare": cost(1.0), "engine": cost(1.0, cpu=9.0)}]
            measured = limits.Results([result(shape, rounds=rounds) for shape in shapes])
            checks = [checks for text, _, checks in limits.figures(measured)
                      if text.startswith("200 hosts x 500 datastores")]
            return [check.verdict() for check in checks[0]]
        self.assertEqual(figure("200x500-shared"), ["not measured"])
        self.assertEqual(figure("200x500-shared", "200x500"), ["not met"])

    def test_sessions_that_nobody_counted_were_not_measured(self):
        def shared(handshakes, full):
            rounds = [{"engine": cost(1.0, handshakes=handshakes)}]
            return limits.Results([result("plain-100", "https-shared", rounds=rounds,
                                          fullHandshakes=full)])
        for counts, expected in (((10, 1), "met"), ((10, 2), "not met"), ((0, 0), "not measured")):
            self.assertEqual(limits.shared_sessions(shared(*counts))[0].verdict(), expected)

    def test_memory_may_grow_with_machines_and_disks(self):
        def once(peak_mib):
            return result("plain-10000", task="once", machines=10000, disks=20000,
                          peakAboveStartKiB=peak_mib * 1024)
        for peak, expected in ((121, "met"), (122, "not met")):
            checks = limits.memory(limits.Results([once(peak)]))
            self.assertEqual(checks[1].verdict(), expected)


class Prediction(unittest.TestCase):
    def test_a_full_last_page_asks_for_one_more(self):
        self.assertEqual([prediction.pages(count) for count in (0, 1, 99, 100, 250)],
                         [0, 1, 1, 2, 3])

    def test_an_empty_site_has_fixed_exchanges(self):
        self.assertEqual(prediction.exchanges([], [], 0), prediction.FIXED)

    def test_machines_of_hosts_are_told_of_for_their_cluster_again(self):
        small = result(machines=5, disks=10, hosts=4, standaloneHosts=1, clusters=1, datastores=3)
        self.assertEqual(prediction.spread(small), ([2, 1, 1, 1], [4]))
        self.assertEqual(prediction.amounts(small), (6 + 4 * 3 + 4 + 10, 9, 15))

    def test_two_shapes_give_the_factors(self):
        def site(shape, **sizes):
            made = result(shape, **sizes)
            made["requests"], machines, datastores = prediction.amounts(made)
            wall = 7 * made["requests"]
            made["rounds"] = [{"bare": cost(wall),
                               "engine": cost(wall + 11 * machines)}]
            if shape == "200x500":
                made["rounds"][0]["engine"]["wall"] += 13 * datastores
            return made
        results = limits.Results([site("plain-10000", machines=10000, disks=20000, datastores=0),
                                  site("200x500", hosts=200, standaloneHosts=0, datastores=500),
                                  site("plain-1000", datastores=0)])
        for found, expected in zip(prediction.calibrated(results), (7, 11, 13)):
            self.assertAlmostEqual(found, expected)
        (shape, told, counted, expected, wall), = prediction.checked(results)
        self.assertEqual((shape, told, expected), ("plain-1000", counted, wall))


class Reports(unittest.TestCase):
    def test_the_markers_stay_for_the_next_time(self):
        page = f"before\n{report.BEGIN}\nold\n{report.END}\nafter\n"
        self.assertEqual(report.between_markers(page, "new\n"),
                         f"before\n{report.BEGIN}\nnew\n{report.END}\nafter\n")

    def test_a_filtered_statement_costs_what_is_beyond_the_stream(self):
        micro = {"benchmarks": [
            {"name": report.FILTERED, "cpu_time": 58.0, "time_unit": "ns"},
            {"name": report.STREAM, "cpu_time": 50.0, "time_unit": "ns"}]}
        self.assertEqual(report.statement_ns(micro), 8.0)
        del micro["benchmarks"][1]
        self.assertEqual(report.statement_ns(micro), 58.0)
        self.assertIsNone(report.statement_ns({}))

    def test_a_table_has_a_row_for_each_contender(self):
        text = tables.scan_tables(limits.Results([result()]))
        self.assertIn("| plain-1000 | real | bare + parse | 1,500 |", text)
        self.assertEqual(text.count("| plain-1000 | real |"), 3)

    def test_shapes_with_the_same_requests_stay_together(self):
        shapes = ["200x500-shared", "200x500"]
        text = tables.scan_tables(limits.Results([result(shape, stand_ins=strength)
                                                  for strength in ("real", "null")
                                                  for shape in shapes]))
        found = [line.split(" | ")[:2] for line in text.splitlines() if " | engine | " in line]
        self.assertEqual(found, [["| 200x500", "null"], ["| 200x500", "real"],
                                 ["| 200x500-shared", "null"], ["| 200x500-shared", "real"]])

    def test_wiping_is_told_by_the_ratios_of_the_rounds(self):
        rounds = [{"plain": cost(9.0, cpu=plain), "wiping": cost(9.0, cpu=wiping)}
                  for plain, wiping in ((0.100, 0.103), (0.200, 0.190), (0.050, 0.060))]
        made = result("plain-100", "https-shared", rounds=rounds, task="wiping")
        text = tables.wiping_table(limits.Results([result(), made]))
        self.assertEqual(text.splitlines()[-1],
                         "| plain-100 | real | HTTPS with a trusted text, sessions shared | 3 | 100 "
                         "| 103 | 1.030 | 0.950 | 1.200 |")
        self.assertEqual(tables.wiping_table(limits.Results([result()])), "")

    def test_wiping_is_no_scan_beside_naked_requests(self):
        rounds = [{"plain": cost(1.0), "wiping": cost(1.0)}]
        only = limits.Results([result(rounds=rounds, task="wiping")])
        self.assertEqual(tables.scan_tables(only), "")
        for _, _, checks in limits.figures(only):
            self.assertEqual(limits.verdict(checks), "not measured")

    def test_numbers_of_rounds_read_well(self):
        self.assertEqual([tables.any_of(numbers) for numbers in ([7], [3, 7], [3, 7, 15])],
                         ["7", "3 or 7", "3, 7 or 15"])

    def test_times_have_a_unit_that_reads_well(self):
        self.assertEqual([tables.duration(ns) for ns in (8.92, 15267.4, 3235913.8)],
                         ["8.9 ns", "15.3 us", "3.2 ms"])

    def test_a_chart_is_an_image_of_its_own(self):
        small = result("plain-100", machines=100)
        drawn = chart.chart(limits.Results([small, result()]))
        image = xml.dom.minidom.parseString(drawn)
        self.assertEqual(len(image.getElementsByTagName("polyline")), 3)
        self.assertEqual(chart.chart(limits.Results([small])), "")

    def test_labels_do_not_lie_on_each_other(self):
        self.assertEqual(chart.spread([100, 98, 50]), [114, 98, 50])


if __name__ == "__main__":
    unittest.main()
