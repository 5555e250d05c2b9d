#!/usr/bin/env python3
"""Shows the layering check good and bad trees."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
sys.dont_write_bytecode = True
import check_layers  # noqa: E402


class CheckLayersTest(unittest.TestCase):
    def problems(self, **texts):
        """Checks a tree; a file's path is written with __ for / and _dot_ for the dot."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for key, text in texts.items():
                path = root / key.replace("__", "/").replace("_dot_", ".")
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text)
            return check_layers.problems(root)

    def assert_only(self, problems, text):
        self.assertEqual(len(problems), 1, problems)
        self.assertIn(text, problems[0])

    def test_accepts_a_layer_that_includes_what_stands_below_it(self):
        problems = self.problems(
            Platform__Base__A_dot_hpp="#include <string>\n",
            Corvane__Request__B_dot_hpp='#include "Platform/Base/A.hpp"\n',
        )

        self.assertEqual(problems, [])

    def test_refuses_a_layer_that_includes_what_stands_above_it(self):
        problems = self.problems(
            Platform__Base__A_dot_cpp='#include "Vantorel/Logger.hpp"\n', Vantorel__Logger_dot_hpp=""
        )

        self.assert_only(problems, "Base/A.cpp:1: Platform stands below Vantorel")

    def test_refuses_support_for_tests_in_the_library(self):
        texts = {"CorvaneTesting__Latch_dot_hpp": '#include "Corvane/A.hpp"\n', "Corvane__A_dot_hpp": ""}

        self.assertEqual(self.problems(**texts), [])
        for layer in ("Platform__Base", "Velisand", "Vantorel", "Corvane__Request"):
            problems = self.problems(**texts, **{f"{layer}__B_dot_cpp": '#include "CorvaneTesting/Latch.hpp"\n'})
            self.assert_only(problems, "stands below CorvaneTesting")

    def test_refuses_what_stands_beside(self):
        texts = {"CorvaneTesting__Latch_dot_hpp": "", "CorvaneQt__Qt_dot_hpp": "#include <QtCore/QObject>\n"}

        self.assertEqual(self.problems(**texts), [])
        problems = self.problems(**texts, CorvaneAsio__A_dot_hpp='#include "CorvaneTesting/Latch.hpp"\n')
        self.assert_only(problems, "CorvaneAsio stands beside CorvaneTesting")

    def test_lets_adapters_alone_meet_what_they_adapt_to(self):
        for line in ("asio.hpp", "asio/post.hpp", "QtCore/QObject", "glib.h"):
            problems = self.problems(CorvaneTesting__A_dot_hpp=f"#include <{line}>\n")
            self.assert_only(problems, "a public header must not include")
        problems = self.problems(CorvaneAsio__Asio_dot_hpp="#include <asio/post.hpp>\n#include <mutex>\n")
        self.assertEqual(problems, [])

    def test_knows_where_each_library_may_be_met(self):
        for line in (
            "libpsl.h", "idn2.h", "nghttp2/nghttp2.h", "openssl/ssl.h", "zlib.h", "spdlog/spdlog.h", "fmt/core.h", "png.h", "jpeglib.h", "jerror.h",
            "gtest/gtest.h", "gmock/gmock.h",
        ):
            problems = self.problems(Corvane__Request__A_dot_cpp=f"#include <{line}>\n")
            self.assert_only(problems, "may be included only in")
        for key, line in (
            ("Platform__Loading__Internal__A_dot_hpp", "libpsl.h"),
            ("Platform__Foundation__Internal__A_dot_hpp", "idn2.h"),
            ("Platform__Networking__HTTP2__A_dot_hpp", "nghttp2/nghttp2.h"),
            ("Platform__Networking__Streams__A_dot_hpp", "openssl/ssl.h"),
            ("Platform__Security__Internal__A_dot_cpp", "openssl/ssl.h"),
            ("Corvane__ContentEncoding__Internal__A_dot_cpp", "zlib.h"),
            ("Vantorel__A_dot_cpp", "spdlog/spdlog.h"),
            ("Platform__Foundation__A_dot_cpp", "boost/url.hpp"),
            ("Platform__Imaging__Internal__A_dot_cpp", "png.h"),
            ("Platform__Imaging__Internal__A_dot_cpp", "jpeglib.h"),
            ("CorvaneTesting__A_dot_cpp", "openssl/x509.h"),
            ("CorvaneTesting__Internal__A_dot_hpp", "openssl/ssl.h"),
            ("CorvaneTesting__A_dot_cpp", "zlib.h"),
        ):
            self.assertEqual(self.problems(**{key: f"#include <{line}>\n"}), [])

    def test_refuses_what_needs_a_library_of_its_own(self):
        problems = self.problems(
            Platform__Imaging__A_dot_hpp="",
            Platform__Imaging__A_dot_cpp='#include "Platform/Imaging/A.hpp"\n',
            Corvane__Request__B_dot_cpp='#include "Platform/Imaging/A.hpp"\n',
        )

        self.assert_only(problems, "Request/B.cpp:1: <Platform/Imaging/A.hpp> is in a library of its own")

    def test_refuses_a_library_in_a_public_header(self):
        problems = self.problems(Platform__Foundation__URL_dot_hpp="#include <boost/url.hpp>\n")

        self.assert_only(problems, "a public header must not include Boost")

    def test_lets_an_adapter_include_its_own_library_only(self):
        adapter = "Platform__Foundation__JSON__NlohmannCodec_dot_hpp"

        self.assertEqual(self.problems(**{adapter: "#include <nlohmann/json.hpp>\n"}), [])
        self.assert_only(self.problems(**{adapter: "#include <boost/json.hpp>\n"}), "must not include Boost")
        self.assert_only(
            self.problems(Platform__Foundation__JSON__A_dot_hpp="#include <nlohmann/json.hpp>\n"),
            "must not include nlohmann",
        )
        self.assertEqual(self.problems(CorvaneTesting__ServerTest_dot_hpp="#include <gtest/gtest.h>\n"), [])
        self.assert_only(
            self.problems(CorvaneTesting__TestServer_dot_hpp="#include <gtest/gtest.h>\n"), "must not include GoogleTest"
        )

    def test_refuses_an_adapter_in_any_other_file(self):
        for user in ("Corvane__Corvane_dot_hpp", "Platform__Foundation__JSON__A_dot_cpp"):
            problems = self.problems(
                Platform__Foundation__JSON__BoostCodec_dot_hpp="",
                **{user: '#include "Platform/Foundation/JSON/BoostCodec.hpp"\n'},
            )

            self.assert_only(problems, "is an adapter, which only its users include")

    def test_refuses_an_internal_header_in_a_public_one(self):
        problems = self.problems(
            Platform__Loading__A_dot_hpp='#include "Platform/Loading/Internal/B.hpp"\n',
            Platform__Loading__Internal__B_dot_hpp="",
        )

        self.assert_only(problems, "must not include the internal")

    def test_refuses_a_heavy_standard_header_in_a_public_one_only(self):
        problems = self.problems(
            Corvane__Request__A_dot_hpp="#  include <regex>\n",
            Corvane__Request__A_dot_cpp="#include <regex>\n",
            Corvane__Request__Internal__B_dot_hpp="#include <regex>\n",
        )

        self.assert_only(problems, "Request/A.hpp:1: a public header must not include <regex>")

    def test_refuses_what_is_as_heavy_of_ours_in_a_public_header_only(self):
        locking = '#include "Platform/Detail/Locking.hpp"\n'
        problems = self.problems(
            Platform__Detail__Locking_dot_hpp="#include <mutex>\n",
            Corvane__Request__A_dot_hpp=locking,
            Corvane__Request__A_dot_cpp=locking,
            Corvane__Request__Internal__B_dot_hpp=locking,
            CorvaneQt__C_dot_hpp=locking,
        )

        self.assert_only(problems, "Request/A.hpp:1: a public header must not include <Platform/Detail/Locking.hpp>")

    def test_refuses_a_name_that_is_used_twice(self):
        problems = self.problems(Corvane__A__X_dot_hpp="", Platform__B__X_dot_hpp="")

        self.assert_only(problems, "the name is taken by Corvane/A/X.hpp")

    def test_refuses_headers_that_include_each_other(self):
        problems = self.problems(
            Corvane__A__X_dot_hpp='#include "Corvane/A/Y.hpp"\n', Corvane__A__Y_dot_hpp='#include "Corvane/A/X.hpp"\n'
        )

        self.assert_only(problems, "headers include each other: Corvane/A/X.hpp -> Corvane/A/Y.hpp")

    def test_refuses_rooms_that_include_each_other(self):
        problems = self.problems(
            Platform__A__X_dot_hpp='#include "Platform/B/Y.hpp"\n',
            Platform__B__Y_dot_hpp="",
            Platform__B__Y_dot_cpp='#include "Platform/A/X.hpp"\n',
        )

        self.assert_only(problems, "folders include each other: Platform/A -> Platform/B -> Platform/A")

    def test_refuses_sources_of_the_library_that_look_back(self):
        texts = {
            "Corvane__A__X_dot_hpp": '#include "Corvane/B/Y.hpp"\n',
            "Corvane__B__Y_dot_hpp": "",
            "Corvane__B__Y_dot_cpp": '#include "Corvane/A/X.hpp"\n',
        }

        self.assert_only(self.problems(**texts), "folders include each other: Corvane/A -> Corvane/B -> Corvane/A")

    def test_takes_a_header_beside_the_rooms_with_its_source(self):
        texts = {
            "Corvane__X_dot_hpp": '#include "Corvane/B/Y.hpp"\n',
            "Corvane__X_dot_cpp": '#include "Corvane/X.hpp"\n',
            "Corvane__B__Y_dot_hpp": "",
        }

        self.assertEqual(self.problems(**texts), [])
        texts["Corvane__B__Y_dot_cpp"] = '#include "Corvane/X.hpp"\n'
        self.assert_only(self.problems(**texts), "folders include each other: Corvane/B -> Corvane/X -> Corvane/B")

    def test_refuses_a_public_header_that_declares_nothing_but_details(self):
        text = "namespace corvane { class Known; }\nnamespace corvane::detail {\nclass A { int a = 'x'; };\n}\n"

        self.assert_only(self.problems(Corvane__A__X_dot_hpp=text), "belongs in a Detail folder")
        self.assertEqual(self.problems(Corvane__A__Detail__X_dot_hpp=text), [])
        self.assertEqual(self.problems(Corvane__A__Internal__X_dot_hpp=text), [])
        self.assertEqual(self.problems(Corvane__A__X_dot_hpp=text + "namespace corvane { void f(); }\n"), [])
        self.assertEqual(self.problems(Corvane__A__X_dot_hpp="#define CORVANE_A 1\n"), [])

    def test_refuses_interface_in_a_detail_folder(self):
        text = "namespace corvane {\nnamespace detail { int b; }\n// namespace detail {\nclass A {};\n}\n"

        self.assert_only(self.problems(Corvane__A__Detail__X_dot_hpp=text), "must be declared in a detail namespace")

    def test_refuses_an_include_that_leads_nowhere(self):
        self.assert_only(self.problems(Corvane__A_dot_cpp='#include "Corvane/Gone.hpp"\n'), "there is no file")
        self.assert_only(self.problems(Corvane__A_dot_cpp='#include "B.hpp"\n'), "from the include root")

    def test_refuses_an_empty_tree(self):
        self.assert_only(self.problems(), "there are no files to check")


if __name__ == "__main__":
    unittest.main()
