<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
<context>
    <name>Vorn</name>
    <message>
        <source>File error</source>
        <translation>ファイルエラー</translation>
    </message>
    <message>
        <source>Box file cannot be read.
%1
%2</source>
        <translation>ボックスファイルを読めません。
%1
%2</translation>
    </message>
    <message>
        <source>BOX file name</source>
        <translation>BOXファイル名</translation>
    </message>
    <message>
        <source>Box file shrank while it was analysed.
%1
The findings end where it was cut.</source>
        <translation>解析中にボックスファイルが縮みました。
%1
結果は切れた所までです。</translation>
    </message>
    <message>
        <source>card %1 at 0x%2</source>
        <translation>カード %1 (0x%2)</translation>
    </message>
    <message>
        <source>The box file is unchanged.</source>
        <translation>ボックスファイルは変更されていません。</translation>
    </message>
    <message>
        <source>Code %1: the box file cannot be opened or read.
%2</source>
        <translation>コード %1: ボックスファイルを開けないか、読めません。
%2</translation>
    </message>
    <message>
        <source>No finding refuses it alone: its item info does not lie wholly before the first card, or it holds more cards than a box can.</source>
        <translation>単独で拒否の原因となる項目はありません: アイテム情報が最初のカードより前に収まっていないか、カードが多すぎます。</translation>
    </message>
    <message>
        <source>Code %1: refused, the box file is damaged in a way that garbage collection cannot repair:
%2
%3
Its cards can be rescued into a new box file with
  boxtool recover BROKEN.BOX NEW.BOX
where BROKEN.BOX is %4</source>
        <translation>コード %1: ガベージコレクションでは修復できない損傷があるため、拒否されました:
%2
%3
次のコマンドでカードを新しいボックスファイルに救出できます:
  boxtool recover BROKEN.BOX NEW.BOX
BROKEN.BOX は %4 です</translation>
    </message>
    <message>
        <source>Code %1: the collected box could not be written beside it (disk full, read-only directory or I/O error).
%2</source>
        <translation>コード %1: 整理したボックスを同じ場所に書き込めませんでした (ディスクの空き不足、読み取り専用のディレクトリ、または入出力エラー)。
%2</translation>
    </message>
    <message>
        <source>Code %1: the collected box could not replace the box file.
%2</source>
        <translation>コード %1: 整理したボックスで元のボックスファイルを置き換えられませんでした。
%2</translation>
    </message>
    <message>
        <source>Code %1: another program is writing the box file; try again when it is done.
%2</source>
        <translation>コード %1: 別のプログラムがボックスファイルに書き込んでいます。終わってからやり直してください。
%2</translation>
    </message>
    <message>
        <source>Code %1: another program changed the box file while it was being collected; it is left as that program made it.</source>
        <translation>コード %1: 整理中に別のプログラムがボックスファイルを変更しました。そのプログラムが書いたままにしてあります。</translation>
    </message>
    <message>
        <source>Code %1: the box library gives no meaning for this code.</source>
        <translation>コード %1: ボックスライブラリはこのコードの意味を定めていません。</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>エラー</translation>
    </message>
    <message>
        <source>No space in %1 strage.
</source>
        <translation>%1 の空き容量が足りません。
</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>確認</translation>
    </message>
    <message>
        <source>Are you sure you want
to exec garbage?</source>
        <translation>ガベージコレクションを
実行しますか?</translation>
    </message>
    <message>
        <source>Garbage collection was failed.
You should reboot.

Reboot now ?</source>
        <translation>ガベージコレクションに失敗しました。
再起動してください。

今すぐ再起動しますか?</translation>
    </message>
    <message>
        <source>Garbage collection was failed.</source>
        <translation>ガベージコレクションに失敗しました。</translation>
    </message>
    <message>
        <source>Are you sure you want
to delete Index file?

If you select NO then
contiue without deleting
 Index file</source>
        <translation>インデックスファイルを
削除しますか?

「いいえ」を選ぶと
インデックスファイルを
削除せずに続けます</translation>
    </message>
    <message>
        <source>Completed</source>
        <translation>完了</translation>
    </message>
    <message>
        <source>garbage collect is completed.
Reboot now.</source>
        <translation>ガベージコレクションが完了しました。
再起動します。</translation>
    </message>
    <message>
        <source>Box file is not found.
%1</source>
        <translation>ボックスファイルが見つかりません。
%1</translation>
    </message>
    <message>
        <source>Selected Application is set FastLoad.
Please unset fastload.</source>
        <translation>選択したアプリケーションは高速起動に設定されています。
高速起動を解除してください。</translation>
    </message>
    <message>
        <source>BXDFileCheck Start</source>
        <translation>BXDFileCheck 開始</translation>
    </message>
    <message>
        <source>No Error</source>
        <translation>エラーなし</translation>
    </message>
</context>
<context>
    <name>VornBase</name>
    <message>
        <source>Vorn2</source>
        <translation>Vorn2</translation>
    </message>
    <message>
        <source>Garbage Collection</source>
        <translation>ガベージコレクション</translation>
    </message>
    <message>
        <source>delete Index File</source>
        <translation>インデックスファイルを削除</translation>
    </message>
    <message>
        <source>Exec</source>
        <translation>実行</translation>
    </message>
    <message>
        <source>Collect the garbage of the selected box file, then restart</source>
        <translation>選択したボックスファイルのゴミを整理し、再起動します</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>アプリケーション</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>保存先</translation>
    </message>
    <message>
        <source>Analyse only: hide garbage collection</source>
        <translation>解析のみ: ガベージコレクションを隠す</translation>
    </message>
    <message>
        <source>Analyze</source>
        <translation>解析</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>インデックス</translation>
    </message>
    <message>
        <source>ID</source>
        <translation>ID</translation>
    </message>
    <message>
        <source>Context</source>
        <translation>内容</translation>
    </message>
    <message>
        <source>Verbose</source>
        <translation>詳細</translation>
    </message>
    <message>
        <source>Noisy</source>
        <translation>全カード</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>デバッグ</translation>
    </message>
    <message>
        <source>BXD</source>
        <translation>BXD</translation>
    </message>
    <message>
        <source>Analyse the selected box file and list its findings</source>
        <translation>選択したボックスファイルを解析し、結果を一覧表示します</translation>
    </message>
    <message>
        <source>After collecting, also delete the box&apos;s index files (after a question)</source>
        <translation>整理の後、ボックスのインデックスファイルも削除します (確認の後)</translation>
    </message>
    <message>
        <source>List the box&apos;s structures as well as its problems</source>
        <translation>問題だけでなく、ボックスの構造も一覧表示します</translation>
    </message>
    <message>
        <source>List every card, also the cards without findings</source>
        <translation>問題のないカードも含め、すべてのカードを一覧表示します</translation>
    </message>
    <message>
        <source>Write the analysis&apos; debug lines and a copy of the findings to standard error</source>
        <translation>解析のデバッグ行と結果の写しを標準エラー出力に書き出します</translation>
    </message>
    <message>
        <source>Run the box library&apos;s own check instead of the analysis</source>
        <translation>解析の代わりにボックスライブラリ自身の検査を実行します</translation>
    </message>
</context>
<context>
    <name>VornWindow</name>
    <message>
        <source>Cancel</source>
        <translation>取り消し</translation>
    </message>
    <message>
        <source>Stop waiting for the analysis (Escape)</source>
        <translation>解析を待つのをやめます (Escape)</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>ファイル(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation>開く(&amp;O)...</translation>
    </message>
    <message>
        <source>Open &amp;Recent</source>
        <translation>最近使ったファイル(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;Save Findings...</source>
        <translation>結果を保存(&amp;S)...</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>終了(&amp;Q)</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>編集(&amp;E)</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>コピー(&amp;C)</translation>
    </message>
    <message>
        <source>Copy the selected rows, or every row when none is selected</source>
        <translation>選択した行を、選択がなければすべての行をコピーします</translation>
    </message>
    <message>
        <source>Copy &amp;All</source>
        <translation>すべてコピー(&amp;A)</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>ヘルプ(&amp;H)</translation>
    </message>
    <message>
        <source>vorn &amp;Manual</source>
        <translation>vorn マニュアル(&amp;M)</translation>
    </message>
    <message>
        <source>&amp;About vorn</source>
        <translation>vorn について(&amp;A)</translation>
    </message>
    <message>
        <source>1 critical</source>
        <translation>致命的 1 件</translation>
    </message>
    <message>
        <source>%1 critical</source>
        <translation>致命的 %1 件</translation>
    </message>
    <message>
        <source>1 error</source>
        <translation>エラー 1 件</translation>
    </message>
    <message>
        <source>%1 errors</source>
        <translation>エラー %1 件</translation>
    </message>
    <message>
        <source>1 warning</source>
        <translation>警告 1 件</translation>
    </message>
    <message>
        <source>%1 warnings</source>
        <translation>警告 %1 件</translation>
    </message>
    <message>
        <source>no problems found</source>
        <translation>問題は見つかりませんでした</translation>
    </message>
    <message>
        <source>, </source>
        <translation>、</translation>
    </message>
    <message>
        <source>%1 - %2</source>
        <translation>%1 - %2</translation>
    </message>
    <message>
        <source>%1: %2 bytes, %3 cards</source>
        <translation>%1: %2 バイト、カード %3 枚</translation>
    </message>
    <message>
        <source>Analysis cancelled</source>
        <translation>解析を取り消しました</translation>
    </message>
    <message>
        <source>&amp;Clear Menu</source>
        <translation>一覧を消去(&amp;C)</translation>
    </message>
    <message>
        <source>Text, as the list shows them (*.txt)</source>
        <translation>テキスト、一覧の表示どおり (*.txt)</translation>
    </message>
    <message>
        <source>NDJSON, as boxtool check --json writes them (*.ndjson)</source>
        <translation>NDJSON、boxtool check --json の出力どおり (*.ndjson)</translation>
    </message>
    <message>
        <source>Save Findings</source>
        <translation>結果を保存</translation>
    </message>
    <message>
        <source>The findings could not be saved.
%1
%2</source>
        <translation>結果を保存できませんでした。
%1
%2</translation>
    </message>
    <message>
        <source>Findings saved to %1</source>
        <translation>結果を %1 に保存しました</translation>
    </message>
    <message>
        <source>The manual is the manual page vorn(1): man vorn</source>
        <translation>マニュアルはマニュアルページ vorn(1) です: man vorn</translation>
    </message>
    <message>
        <source>vorn Manual</source>
        <translation>vorn マニュアル</translation>
    </message>
    <message>
        <source>About vorn</source>
        <translation>vorn について</translation>
    </message>
    <message>
        <source>&lt;h3&gt;vorn %1&lt;/h3&gt;&lt;p&gt;Analyses and compacts the record databases (box files) of a Qtopia handheld.&lt;/p&gt;&lt;p&gt;Copyright 2026 the vorn authors.&lt;br&gt;Released under the MIT licence.&lt;/p&gt;</source>
        <translation>&lt;h3&gt;vorn %1&lt;/h3&gt;&lt;p&gt;Qtopia 携帯端末の記録データベース (ボックスファイル) を解析し、整理します。&lt;/p&gt;&lt;p&gt;Copyright 2026 the vorn authors.&lt;br&gt;MIT ライセンスで配布されています。&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>boxFileSelecter</name>
    <message>
        <source>Calendar</source>
        <translation>カレンダー</translation>
    </message>
    <message>
        <source>AddressBook</source>
        <translation>アドレス帳</translation>
    </message>
    <message>
        <source>TodoList</source>
        <translation>ToDoリスト</translation>
    </message>
    <message>
        <source>TextEditor</source>
        <translation>テキストエディタ</translation>
    </message>
    <message>
        <source>EMail inbox</source>
        <translation>メール受信箱</translation>
    </message>
    <message>
        <source>EMail outbox</source>
        <translation>メール送信箱</translation>
    </message>
    <message>
        <source>Other Boxes</source>
        <translation>その他のボックス</translation>
    </message>
    <message>
        <source>Main</source>
        <translation>本体</translation>
    </message>
    <message>
        <source>SD</source>
        <translation>SD</translation>
    </message>
    <message>
        <source>CF</source>
        <translation>CF</translation>
    </message>
    <message>
        <source>Open box file</source>
        <translation>ボックスファイルを開く</translation>
    </message>
    <message>
        <source>Box files (*.box *.BOX);;All files (*)</source>
        <translation>ボックスファイル (*.box *.BOX);;すべてのファイル (*)</translation>
    </message>
    <message>
        <source>No other box files in %1</source>
        <translation>%1 にほかのボックスファイルはありません</translation>
    </message>
    <message>
        <source>Open box file...</source>
        <translation>ボックスファイルを開く...</translation>
    </message>
</context>
</TS>
