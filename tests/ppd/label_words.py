# SPDX-License-Identifier: Apache-2.0
"""The words by which each label must tell what its choice does, in every language.

A label is held to the choice's name, which is what the filter acts on; a label that
went to another choice, or was translated as another, has the other's words.
"""
import re

LANGUAGES = ("en", "de", "es", "fr", "ja", "zh_CN")
# What a choice does -> a pattern in each of LANGUAGES.
WORDS: dict[str, tuple[str, ...]] = {
    "closed": ("closed", "zu$", "cerrado", "fermé", "開かない", "关闭"),
    "job start": ("starts", "Beginn", "comenzar", "début", "開始", "开始"),
    "job end": ("ends", "Ende", "terminar", "fin de", "終了", "结束"),
    "silent": ("Silent", "Stumm", "silencio", "Silencieux", "鳴らさない", "静音"),
    "before each page": ("before each", "vor jeder", "antes de cada", "avant chaque", "各.*の前",
                         "每.*之前"),
    "after each page": ("after each", "nach jeder", "después de cada", "après chaque", "各.*の後",
                        "每.*之后"),
    "none": ("^No ", "^(Nicht|Kein) ", "^Sin ", "^Aucun", "ない$|なし$", "^不|^无"),
    "partial cut": ("^Partial", "^Teil", "parcial", "partielle", "^部分", "^半"),
    "full cut": ("^Full", "^Voll", "completo", "complète", "^全", "^全"),
    "stored": ("^Stored", "^Gespeichert", "guardado", "enregistré", "^保存済み", "^已存储"),
    "normal": ("ormal", "ormal", "ormal", "ormal", "標準", "正常"),
    "width": ("width", "Breite", "ancho", "largeur", "横", "宽"),
    "height": ("height", "Höhe", "altura", "hauteur", "縦", "高"),
    "left": ("Left", "Links", "Izquierda", "Gauche", "左", "左"),
    "centre": ("Centre", "Mitte", "Centro", "Centre", "中", "中"),
    "right": ("Right", "Rechts", "Derecha", "Droite", "右", "右"),
    "off": ("^Off$", "^Aus$", "^No$", "^Non$", "^オフ$", "^关$"),
    "on": ("^On$", "^Ein$", "^Sí$", "^Oui$", "^オン$", "^开$"),
    "sheets": ("sheets", "blätter", "Hojas", "Feuilles", "単票", "单页"),
    "roll": ("Roll", "Rolle", "Rollo", "Rouleau", "ロール", "卷"),
    "missing": ("^Not installed$", "^Nicht installiert$", "^No instalado$", "^Non installé$",
                "^なし$", "^未安装$"),
    "installed": ("^Installed$", "^Installiert$", "^Instalado$", "^Installé$", "^あり$", "^已安装$"),
    "once": ("Once", "Einmal", "Una vez", "Une fois", "一", "一"),
    "twice": ("Twice", "Zweimal", "Dos veces", "Deux fois", "二", "两"),
    "lighter": ("^Lighter", "^Heller", "^Más claro", "clair", "薄", "浅"),
    "darker": ("^Darker", "^Dunkler", "oscuro", "foncé", "濃", "深"),
    "lightest": ("lightest", "hellsten", "clara", "claire", "薄", "浅"),
    "darkest": ("darkest", "dunkelsten", "oscura", "foncée", "濃", "深"),
    "lines": (" lines?$", " Zeilen?$", " líneas?$", " lignes?$", " 行$", " 行$"),
    "units": (" units?", " Einheit", " unidad", " unité", " 単位", "单位"),
    "times": (r"\d times$", r"\d-mal$", r"\d veces$", r"\d fois$", r"\d 回$", r"\d 次$"),
    # Halftones: the method, for whom it is.
    "stencil": ("stencil", "Schablone", "Plantilla", "Stencil", "ステンシル", "转印"),
    "line work": ("line work", "Linien", "líneas", "traits", "線画", "线条"),
    "X8": ("X8",) * 6,
    "threshold": ("^Threshold", "^Schwellwert", "^Umbral", "^Seuil", "^しきい値", "^阈值"),
    "ordered": ("^Ordered 4x4", "^Geordnet 4x4", "^Ordenado 4x4", "^Ordonné 4x4", "^組織的 4x4",
                "^有序 4x4"),
    "bayer": ("^Bayer",) * 6, "burkes": ("^Burkes",) * 6, "stucki": ("^Stucki",) * 6,
    "jarvis": ("^Jarvis.*Ninke",) * 6, "sierra": ("^Sierra",) * 6, "stevenson": ("^Stevenson",) * 6,
    # Options.
    "drawer": ("Drawer", "Kassenlade", "Cajón", "Tiroir-caisse", "ドロワー", "钱箱"),
    "cut": ("Cut", "schneid", "[Cc]ort", "[Cc]oup|Massicot", "カッ[トタ]", "切纸"),
    "feed": ("Feed", "Vorschub", "Avance", "Avance", "紙送り", "走纸"),
    "buzzer": ("Buzzer", "Summer", "[Zz]umbador", "[Aa]vertisseur", "ブザー", "蜂鸣"),
    "logo": ("Logo", "Logo", "[Ll]ogotipo", "[Ll]ogo", "ロゴ", "徽标"),
    "above": ("above", "über|oberen", "encima|superior", "au-dessus|haut", "上の", "上方"),
    "below": ("below", "unter", "debajo|inferior", "sous|bas", "下の", "下方"),
    "size": ("Size", "Größe", "Tamaño", "Taille", "サイズ", "大小"),
    "position": ("Position", "Position", "Posición", "Position", "位置", "位置"),
    "length": ("Length", "Dauer", "Duración", "Durée", "長さ", "时长"),
    "repeats": ("Repeats", "Wiederholungen", "Repeticiones", "Répétitions", "回数", "次数"),
    "each page": ("[Ee]ach Page", "jeder? Seite", "cada página", "chaque page", "ページ", "每页"),
    "the job": ("the Job", "Auftrag", "trabajo", "la tâche", "ジョブ", "作业"),
    "one": (r"\b1$",) * 6, "two": (r"\b2$",) * 6,
    "density": ("Density", "dichte", "Densidad", "Densité", "濃度", "浓度"),
    "brightness": ("Brightness", "Helligkeit", "Brillo", "Luminosité", "明るさ", "亮度"),
    "halftone": ("Halftone", "Rasterung", "Trama", "Tramage", "ハーフトーン", "半色调"),
    "paper": ("Paper", "Papier", "papel", "papier", "用紙", "纸张"),
    "log": ("the log", "Protokoll", "registro", "journal", "ログ", "日志"),
    "copy": ("Copy", "Kopie", "copia", "copie", "コピー", "副本"),
    "mirror": ("Mirror", "spiegel", "Reflejar", "Miroir", "左右反転", "镜像"),
    "turn": ("Turn", "drehen", "Girar", "Tourner", "回転", "旋转"),
    "white on black": ("White on Black", "Weiß auf Schwarz", "Blanco sobre negro",
                       "Blanc sur noir", "白黒反転", "黑白反转"),
    "contrast": ("Contrast", "Kontrast", "Contraste", "Contraste", "コントラスト", "对比度"),
    "stronger": ("^Stronger", "^Stärker", "^Más fuerte", "^Plus fort", "強く", "增强"),
    "frame": ("[Ff]rame", "Rahmen", "[Mm]arco", "[Cc]adre", "枠", "边框"),
    "wrinkles": ("Wrinkles", "Falten", "arrugas", "plis", "しわ", "皱"),
    "at the sides": (r"\bmm at the sides", r"\bmm an den Seiten", r"\bmm a los lados",
                     r"\bmm sur les côtés", r"^左右 \d+ mm", "^两侧.*毫米"),
    "blank paper": ("Blank Paper", "Leeres Papier", "papel en blanco", "papier vierge", "余白",
                    "空白纸张"),
    "leave out": ("Trim", "weglassen", "Omitir", "Omettre", "省略", "省去"),
    "whole page": ("^Whole page", "^Ganze Seite", "^Página entera", "^Page entière", "全体",
                   "^整页"),
    "at the end": ("the end", "Ende", "final", "fin", "末尾", "末尾"),
    "at the start": ("the start", "Anfang", "principio", "début", "先頭", "开头"),
    "diagnostic": ("Diagnostic", "Diagnose", "diagnóstico", "diagnostic", "診断", "诊断"),
    "keep": ("Keep", "aufbewahren", "Conservar", "Conserver", "保存", "保留"),
}
CUTS = {"0": {"none"}, "1": {"partial cut"}, "2": {"full cut"}}
DRAWER = {"0": {"closed"}, "1": {"job start"}, "2": {"job end"}}
LOGO = {"0": {"none"}} | {str(number): {"stored"} for number in range(1, 6)}
MODE = {"0": {"normal"}, "1": {"width"}, "2": {"height"}, "3": {"width", "height"}}
POSITION = {"0": {"left"}, "1": {"centre"}, "2": {"right"}}
SWITCH = {"False": {"off"}, "True": {"on"}}
PART = {"False": {"missing"}, "True": {"installed"}}
# Option -> choice -> what its label says; no label says what only another's does.
CHOICES: dict[str, dict[str, set[str]]] = {
    "HalftoneType": {
        "Tattoo": {"stencil", "line work"}, "Tattoo_X8": {"stencil", "X8"},
        "None": {"threshold"}, "FloydSteinberg": {"ordered"}, "StevensonArce": {"bayer"},
        "Ordered": {"burkes"}, "Burkes": {"stucki"}, "Stucki": {"jarvis"},
        "JarvisJudiceNinke": {"sierra"}, "Sierra": {"stevenson"}},
    "Brightness": {str(value): {"normal" if value == 0 else "darker" if value > 0 else "lighter"}
                   for value in (*range(-40, 1, 5), 2, 5, 10, 15)},
    "PrintDensity": {"0": {"lightest"}, **{str(level): set() for level in range(1, 15)},
                     "8": {"normal"}, "15": {"darkest"}},
    "PageType": {"0": {"sheets"}, "1": {"roll"}},
    "pageCutType": CUTS, "docCutType": CUTS,
    "FeedCutAfterJobEnd": {"0": {"none"}} | {str(n): {"lines"} for n in (1, 2, 3, 4, 5, 6, 8, 10)},
    "CashDrawer1Setting": DRAWER, "CashDrawer2Setting": DRAWER,
    "DocumentBuzzerSetting": DRAWER | {"0": {"silent"}},
    "PageBuzzerSetting": {"0": {"silent"}, "1": {"before each page"}, "2": {"after each page"}},
    "BuzzerOnTime": {str(number): {"units"} for number in range(1, 10)},
    "BuzzerRepeat": {"1": {"once"}, "2": {"twice"}} | {str(n): {"times"} for n in range(3, 10)},
    "DocTopLogoID": LOGO, "DocBottomLogoID": LOGO,
    "DocTopLogoMode": MODE, "DocBottomLogoMode": MODE,
    "DocTopLogoPosition": POSITION, "DocBottomLogoPosition": POSITION,
    "RecordPrinterCommands": {"0": {"off"}, "1": {"on"}},
    "StencilMirror": SWITCH, "HalfTurn": SWITCH, "InvertPage": SWITCH, "KeepPictures": SWITCH,
    "Contrast": {"0": {"normal"}} | {str(n): {"stronger"} for n in range(10, 51, 10)},
    "PaperFrame": {"0": {"none"}} | {str(number): {"at the sides"} for number in range(1, 6)},
    "TrimPaper": {"None": {"whole page"}, "End": {"at the end"},
                  "Both": {"at the start", "at the end"}},
    "OptionCutter": PART, "OptionDrawer1": PART, "OptionDrawer2": PART, "OptionLogos": PART,
}
# What is counted: the label has the choice's own number. All others have none.
COUNTED = {"lines", "units", "times", "stored", "lighter", "darker", "stronger", "at the sides"}
# What the label of each option says.
OPTION_LABELS = {
    "HalftoneType": {"halftone"}, "Brightness": {"brightness"}, "PrintDensity": {"density"},
    "PageType": {"paper", "log"}, "pageCutType": {"cut", "each page"},
    "docCutType": {"cut", "the job"}, "FeedCutAfterJobEnd": {"feed", "the job"},
    "CashDrawer1Setting": {"drawer", "one"}, "CashDrawer2Setting": {"drawer", "two"},
    "DocumentBuzzerSetting": {"buzzer", "the job"}, "PageBuzzerSetting": {"buzzer", "each page"},
    "BuzzerOnTime": {"buzzer", "length"}, "BuzzerRepeat": {"buzzer", "repeats"},
    "DocTopLogoID": {"logo", "above", "the job"}, "DocTopLogoMode": {"size", "logo", "above"},
    "DocTopLogoPosition": {"position", "logo", "above"},
    "DocBottomLogoID": {"logo", "below", "each page"},
    "DocBottomLogoMode": {"size", "logo", "below"},
    "DocBottomLogoPosition": {"position", "logo", "below"}, "RecordPrinterCommands": {"copy"},
    "StencilMirror": {"mirror"}, "HalfTurn": {"turn"}, "InvertPage": {"white on black"},
    "Contrast": {"contrast"}, "PaperFrame": {"frame", "wrinkles"},
    "TrimPaper": {"leave out", "blank paper"}, "KeepPictures": {"keep", "diagnostic"},
    "OptionCutter": {"cut"}, "OptionDrawer1": {"drawer", "one"}, "OptionDrawer2": {"drawer", "two"},
    "OptionLogos": {"logo"},
}


def said(label: str, language: str, ideas: set[str]) -> set[str]:
    """Those of the ideas that the label has words for."""
    at = LANGUAGES.index(language)
    return {idea for idea in ideas if re.search(WORDS[idea][at], label)}


def choice_faults(option: str, choice: str, label: str, language: str) -> list[str]:
    """What a choice's label does not say, or says of another choice."""
    wanted = CHOICES[option][choice]
    found = said(label, language, set[str]().union(*CHOICES[option].values()))
    faults = [f"says {sorted(found)} instead of {sorted(wanted)}"] if found != wanted else []
    numbers = re.findall(r"\d+", label)
    counted = option == "PrintDensity" or wanted & COUNTED
    if option != "HalftoneType" and numbers != ([choice.lstrip("-")] if counted else []):
        faults.append(f"has the numbers {numbers}")
    return [f"{option} {choice} ({language}) {fault}: {label}" for fault in faults]


def option_faults(option: str, label: str, language: str) -> list[str]:
    """What an option's label does not say, or says of its kin."""
    wanted = OPTION_LABELS[option]
    apart = {"above", "below", "size", "position", "length", "repeats", "one", "two", "feed"}
    found = said(label, language, wanted | apart)
    return [] if found == wanted else [f"{option} ({language}) says {sorted(found)} instead of "
                                       f"{sorted(wanted)}: {label}"]
